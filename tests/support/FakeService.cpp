#include "FakeService.h"

namespace tavi::test {

FakeService::FakeService(std::string host, std::string method, std::string path) : host_(std::move(host)) {
    server_.on(std::move(method), std::move(path),
               [this](const RecordedRequest& request, httplib::Response& response) { handle(request, response); });
}

void FakeService::scriptReply(int status, std::string body, std::string contentType) {
    std::lock_guard lock(mutex_);
    script_ = Reply{status, std::move(body), std::move(contentType)};
}

std::vector<std::string> FakeService::rejections() const {
    std::lock_guard lock(mutex_);
    return rejections_;
}

std::vector<std::string> FakeService::texts() const {
    std::lock_guard lock(mutex_);
    return texts_;
}

void FakeService::handle(const RecordedRequest& request, httplib::Response& response) {
    const Verdict verdict = examine(request);
    std::optional<Reply> reply = verdict.refusal;
    {
        std::lock_guard lock(mutex_);
        if (reply) {
            rejections_.push_back(verdict.reason);
        } else {
            texts_.push_back(verdict.text);
            reply = script_;
        }
    }
    if (!reply) reply = translation(request, verdict);
    response.status = reply->status;
    response.set_content(reply->body, reply->contentType);
}

}  // namespace tavi::test
