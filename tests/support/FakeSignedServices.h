#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "FakeService.h"

namespace tavi::test {

// Loopback stand-ins for the three services that sign their requests. Each
// checks the signature of what actually arrived, with the independent
// verifiers, and refuses a bad one the way the real service does:
//   Baidu   200 {"error_code":"54001","error_msg":"Invalid Sign"}
//   Volcano 401 with a ResponseMetadata.Error of SignatureDoesNotMatch
//   Aliyun  400 {"Code":"SignatureDoesNotMatch","Message":"... server string to sign is:..."}
// A correctly signed request gets a translation at once: every line prefixed
// with kTranslationPrefix (Baidu answers line by line, like the real one).
class FakeSignedService : public FakeService {
protected:
    using FakeService::FakeService;

    // Fills `reason` and returns the service's refusal when the request must
    // be refused, or nothing when it is correctly signed.
    virtual std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) = 0;
    virtual Reply answer(const RecordedRequest& request) = 0;

    static std::string requestId();

private:
    Verdict examine(const RecordedRequest& request) final;
    Reply translation(const RecordedRequest& request, const Verdict&) final { return answer(request); }
};

class FakeBaiduService final : public FakeSignedService {
public:
    FakeBaiduService(std::string appID, std::string secretKey);

private:
    std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) override;
    Reply answer(const RecordedRequest& request) override;

    std::string appID_;
    std::string secretKey_;
};

class FakeVolcanoService final : public FakeSignedService {
public:
    FakeVolcanoService(std::string accessKeyID, std::string secretAccessKey);

private:
    std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) override;
    Reply answer(const RecordedRequest& request) override;

    std::string accessKeyID_;
    std::string secretAccessKey_;
};

class FakeAliyunService final : public FakeSignedService {
public:
    FakeAliyunService(std::string accessKeyID, std::string accessKeySecret);

private:
    std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) override;
    Reply answer(const RecordedRequest& request) override;

    std::string accessKeyID_;
    std::string accessKeySecret_;
    std::set<std::string> usedNonces_;  // the service refuses a nonce it has seen
    std::mutex nonceMutex_;
};

}  // namespace tavi::test
