#pragma once

#include <set>
#include <string>

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
class FakeBaiduService final : public FakeService {
public:
    FakeBaiduService(std::string appID, std::string secretKey);

private:
    Verdict examine(const RecordedRequest& request) override;
    Reply translation(const RecordedRequest& request, const Verdict& accepted) override;

    std::string appID_;
    std::string secretKey_;
};

class FakeVolcanoService final : public FakeService {
public:
    FakeVolcanoService(std::string accessKeyID, std::string secretAccessKey);

private:
    Verdict examine(const RecordedRequest& request) override;
    Reply translation(const RecordedRequest& request, const Verdict& accepted) override;

    std::string accessKeyID_;
    std::string secretAccessKey_;
};

class FakeAliyunService final : public FakeService {
public:
    FakeAliyunService(std::string accessKeyID, std::string accessKeySecret);

private:
    Verdict examine(const RecordedRequest& request) override;
    Reply translation(const RecordedRequest& request, const Verdict& accepted) override;

    std::string accessKeyID_;
    std::string accessKeySecret_;
    std::set<std::string> usedNonces_;  // the service refuses a nonce it has seen
    std::mutex nonceMutex_;
};

}  // namespace tavi::test
