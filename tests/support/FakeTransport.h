#pragma once

#include <deque>
#include <mutex>
#include <vector>

#include "core/HttpTransport.h"

namespace tavi::test {

// An HttpTransport that records every request and answers from a script.
// With nothing scripted it answers 200 with an empty body.
class FakeTransport final : public HttpTransport {
public:
    void enqueue(Result<HttpResponse> answer);
    void respond(long status, std::string body, std::vector<HttpHeader> headers = {});
    void fail(TransportError error);

    Result<HttpResponse> send(const HttpRequest& request) override;

    std::size_t requestCount() const;
    HttpRequest lastRequest() const;

private:
    mutable std::mutex mutex_;
    std::deque<Result<HttpResponse>> answers_;
    std::vector<HttpRequest> requests_;
};

}  // namespace tavi::test
