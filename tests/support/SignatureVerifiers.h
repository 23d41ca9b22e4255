#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Signature checks written apart from the providers, the way each service
// recomputes a signature from what reached it. They share no code with
// src/providers: their own hex, percent coding and canonical forms, and
// OpenSSL's one-shot EVP_Q_* calls and EVP_EncodeBlock for the primitives.
namespace tavi::test::verify {

using Params = std::vector<std::pair<std::string, std::string>>;

struct Verdict {
    bool ok = false;
    std::string reason;  // why it failed; for test messages and the fakes' logs

    explicit operator bool() const { return ok; }
};

std::string hex(std::string_view bytes);
std::string base64(std::string_view bytes);

// Decodes %XX escapes (either case), and "+" as a blank when plusIsSpace.
// A "%" without two hex digits after it makes the whole text malformed.
std::optional<std::string> percentDecode(std::string_view text, bool plusIsSpace);
// "a=1&b=2" into decoded pairs in arrival order; a pair without "=" has an empty value.
std::optional<Params> parseUrlEncoded(std::string_view text, bool plusIsSpace);
// The value of the first parameter of that name.
std::optional<std::string> find(const Params& params, std::string_view name);
// The pieces between separators, empty ones included.
std::vector<std::string> split(std::string_view text, char separator);

// --- Baidu: MD5 over appid + q + salt + key, 32 lower-case hex digits.
std::string baiduSign(std::string_view appID, std::string_view q, std::string_view salt, std::string_view key);
// The decoded query as it reached the service.
Verdict verifyBaidu(const Params& query, std::string_view appID, std::string_view secretKey);

// --- Volcengine HMAC-SHA256 signing.
struct ReceivedRequest {
    std::string method;
    std::string path;
    std::string rawQuery;  // as on the wire, still percent-encoded
    Params headers;        // as received, any case
    std::string body;
};

std::string volcanoSigningKey(std::string_view secret, std::string_view date, std::string_view region,
                              std::string_view service, std::string_view terminator = "request");
// The canonical request the service derives from a received request.
std::optional<std::string> volcanoCanonicalRequest(const ReceivedRequest& request,
                                                   const std::vector<std::string>& signedHeaders);
Verdict verifyVolcano(const ReceivedRequest& request, std::string_view accessKeyID, std::string_view secretAccessKey,
                      std::string_view region = "cn-north-1", std::string_view service = "translate");

// Every byte outside A-Z a-z 0-9 - _ . ~ as %XX, upper-case hex.
std::string rfc3986Encode(std::string_view text);

// --- Alibaba Cloud RPC signature, version 1.0, HMAC-SHA1.
std::string aliyunStringToSign(std::string_view method, Params params);
std::string aliyunSignature(std::string_view method, const Params& params, std::string_view secret);
// All received parameters, Signature among them.
Verdict verifyAliyun(std::string_view method, const Params& params, std::string_view accessKeyID,
                     std::string_view secret);

}  // namespace tavi::test::verify
