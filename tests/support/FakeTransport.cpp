#include "FakeTransport.h"

#include <stdexcept>

namespace tavi::test {

void FakeTransport::enqueue(Result<HttpResponse> answer) {
    std::lock_guard lock(mutex_);
    answers_.push_back(std::move(answer));
}

void FakeTransport::respond(long status, std::string body, std::vector<HttpHeader> headers) {
    enqueue(HttpResponse{status, std::move(headers), std::move(body)});
}

void FakeTransport::fail(TransportError error) { enqueue(Error(std::move(error))); }

Result<HttpResponse> FakeTransport::send(const HttpRequest& request) {
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    if (answers_.empty()) return HttpResponse{200, {}, ""};
    Result<HttpResponse> answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

std::size_t FakeTransport::requestCount() const {
    std::lock_guard lock(mutex_);
    return requests_.size();
}

HttpRequest FakeTransport::lastRequest() const {
    std::lock_guard lock(mutex_);
    if (requests_.empty()) throw std::logic_error("no request was sent");
    return requests_.back();
}

}  // namespace tavi::test
