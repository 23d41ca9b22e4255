#include "FakeService.h"

namespace tavi::test {

FakeService::FakeService(std::string host, std::string method, std::string path) : host_(std::move(host)) {
    server_.on(std::move(method), std::move(path),
               [this](const RecordedRequest& request, httplib::Response& response) { handle(request, response); });
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
    {
        std::lock_guard lock(mutex_);
        if (verdict.refusal) rejections_.push_back(verdict.reason);
        else texts_.push_back(verdict.text);
    }
    const Reply reply = verdict.refusal ? *verdict.refusal : translation(request, verdict);
    response.status = reply.status;
    response.set_content(reply.body, "application/json");
}

}  // namespace tavi::test
