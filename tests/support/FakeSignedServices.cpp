#include "FakeSignedServices.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>

#include <nlohmann/json.hpp>

#include "SignatureVerifiers.h"

namespace tavi::test {
namespace {

using nlohmann::json;
using verify::find;
using verify::Params;

// The services accept a clock this far off their own.
constexpr std::int64_t kAllowedSkewSeconds = 15 * 60;

Params withoutSignature(const Params& params) {
    Params rest;
    for (const auto& param : params) {
        if (param.first != "Signature") rest.push_back(param);
    }
    return rest;
}

std::int64_t nowSeconds() {
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Parses "yyyyMMddTHHmmssZ" or "yyyy-MM-ddTHH:mm:ssZ" as UTC; nothing if malformed.
std::optional<std::int64_t> parseUtc(const std::string& text, const char* pattern) {
    std::tm fields{};
    char zone = 0;
    int consumed = 0;
    if (std::sscanf(text.c_str(), pattern, &fields.tm_year, &fields.tm_mon, &fields.tm_mday, &fields.tm_hour,
                    &fields.tm_min, &fields.tm_sec, &zone, &consumed) != 7 ||
        zone != 'Z' || static_cast<std::size_t>(consumed) != text.size()) {
        return std::nullopt;
    }
    fields.tm_year -= 1900;
    fields.tm_mon -= 1;
    return static_cast<std::int64_t>(timegm(&fields));
}

bool isFresh(std::optional<std::int64_t> moment) {
    return moment && std::llabs(*moment - nowSeconds()) <= kAllowedSkewSeconds;
}

std::string dump(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

std::string requestId() {
    static std::atomic<unsigned> counter{0};
    char id[48];
    std::snprintf(id, sizeof id, "5F1C2A3B-0000-4000-8000-%012u", ++counter);
    return id;
}

}  // namespace

// ---------------------------------------------------------------- Baidu

FakeBaiduService::FakeBaiduService(std::string appID, std::string secretKey)
    : FakeService("fanyi-api.baidu.com", "GET", "/api/trans/vip/translate"),
      appID_(std::move(appID)),
      secretKey_(std::move(secretKey)) {}

FakeService::Verdict FakeBaiduService::examine(const RecordedRequest& request) {
    const auto error = [](const char* code, const char* message) {
        return refuse(message, {200, dump({{"error_code", code}, {"error_msg", message}})});
    };
    const auto query = verify::parseUrlEncoded(request.query, true);
    if (!query || !find(*query, "q") || !find(*query, "from") || !find(*query, "to") || !find(*query, "salt")) {
        return error("54000", "PARAM_FROM_TO_OR_Q_EMPTY");
    }
    if (find(*query, "appid") != appID_) return error("52003", "UNAUTHORIZED USER");
    const verify::Verdict verdict = verify::verifyBaidu(*query, appID_, secretKey_);
    if (!verdict) return error("54001", "Invalid Sign");
    Verdict accepted;
    accepted.text = *find(*query, "q");
    return accepted;
}

FakeService::Reply FakeBaiduService::translation(const RecordedRequest& request, const Verdict& accepted) {
    const Params query = verify::parseUrlEncoded(request.query, true).value_or(Params{});
    const std::string from = find(query, "from").value_or("auto");
    json results = json::array();
    for (const std::string& line : verify::split(accepted.text, '\n')) {
        results.push_back({{"src", line}, {"dst", translationOf(line)}});
    }
    return {200, dump({{"from", from == "auto" ? "en" : from}, {"to", find(query, "to").value_or("")},
                       {"trans_result", results}})};
}

// ---------------------------------------------------------------- Volcano

FakeVolcanoService::FakeVolcanoService(std::string accessKeyID, std::string secretAccessKey)
    : FakeService("translate.volcengineapi.com", "POST", "/"),
      accessKeyID_(std::move(accessKeyID)),
      secretAccessKey_(std::move(secretAccessKey)) {}

FakeService::Verdict FakeVolcanoService::examine(const RecordedRequest& request) {
    const auto error = [](int status, int codeN, const char* code, const std::string& message,
                          const std::string& reason = {}) {
        const json metadata = {{"RequestId", requestId()}, {"Action", "TranslateText"}, {"Version", "2020-06-01"},
                               {"Service", "translate"},   {"Region", "cn-north-1"},
                               {"Error", {{"CodeN", codeN}, {"Code", code}, {"Message", message}}}};
        return refuse(reason.empty() ? code + (": " + message) : reason,
                      {status, dump({{"ResponseMetadata", metadata}})});
    };
    const auto query = verify::parseUrlEncoded(request.query, false);
    if (!query || find(*query, "Action") != "TranslateText" || find(*query, "Version") != "2020-06-01") {
        return error(404, 100002, "InvalidActionOrVersion", "Could not find operation with the given action.");
    }
    if (!isFresh(parseUtc(request.header("X-Date"), "%4d%2d%2dT%2d%2d%2d%c%n"))) {
        return error(401, 100011, "SignatureExpired", "The request has expired: X-Date " + request.header("X-Date"));
    }
    verify::ReceivedRequest wire{request.method, request.path, request.query, {}, request.body};
    for (const auto& header : request.headers) wire.headers.emplace_back(header.name, header.value);
    const verify::Verdict verdict = verify::verifyVolcano(wire, accessKeyID_, secretAccessKey_);
    if (verdict.reason == "unknown access key") {
        return error(401, 100009, "InvalidAccessKey", "The access key you provided does not exist.");
    }
    if (!verdict) {
        return error(401, 100010, "SignatureDoesNotMatch",
                     "The request signature we calculated does not match the signature you provided. "
                     "Check your Secret Access Key and signing method.",
                     verdict.reason);
    }
    const json body = json::parse(request.body, nullptr, false);
    if (!body.is_object() || !body.contains("TextList") || !body["TextList"].is_array()) {
        return error(400, 100004, "MissingParameter", "TextList is required");
    }
    Verdict accepted;
    if (!body["TextList"].empty() && body["TextList"][0].is_string()) accepted.text = body["TextList"][0].get<std::string>();
    return accepted;
}

FakeService::Reply FakeVolcanoService::translation(const RecordedRequest& request, const Verdict&) {
    const json body = json::parse(request.body);
    json list = json::array();
    for (const json& text : body["TextList"]) {
        list.push_back({{"Translation", translationOf(text.is_string() ? text.get<std::string>() : text.dump())},
                        {"DetectedSourceLanguage", "en"},
                        {"Extra", nullptr}});
    }
    return {200, dump({{"TranslationList", list},
                       {"ResponseMetadata", {{"RequestId", requestId()}, {"Action", "TranslateText"},
                                             {"Version", "2020-06-01"}, {"Service", "translate"},
                                             {"Region", "cn-north-1"}}}})};
}

// ---------------------------------------------------------------- Aliyun

FakeAliyunService::FakeAliyunService(std::string accessKeyID, std::string accessKeySecret)
    : FakeService("mt.cn-hangzhou.aliyuncs.com", "POST", "/"),
      accessKeyID_(std::move(accessKeyID)),
      accessKeySecret_(std::move(accessKeySecret)) {}

FakeService::Verdict FakeAliyunService::examine(const RecordedRequest& request) {
    const auto error = [](int status, const char* code, const std::string& message) {
        return refuse(code + (": " + message), {status, dump({{"RequestId", requestId()},
                                                               {"HostId", "mt.cn-hangzhou.aliyuncs.com"},
                                                               {"Code", code},
                                                               {"Message", message}})});
    };
    if (request.header("Content-Type").rfind("application/x-www-form-urlencoded", 0) != 0) {
        return error(400, "MissingParameter", "The input parameter \"Action\" that is mandatory is missing.");
    }
    const auto form = verify::parseUrlEncoded(request.body, true);
    if (!form) return error(400, "InvalidParameter", "The form body is malformed.");
    if (find(*form, "Action") != "TranslateGeneral" || find(*form, "Version") != "2018-10-12") {
        return error(404, "InvalidAction.NotFound", "Specified api is not found, please check your url and method.");
    }
    if (find(*form, "AccessKeyId") != accessKeyID_) {
        return error(404, "InvalidAccessKeyId.NotFound", "Specified access key is not found.");
    }
    if (!isFresh(parseUtc(find(*form, "Timestamp").value_or(""), "%4d-%2d-%2dT%2d:%2d:%2d%c%n"))) {
        return error(400, "InvalidTimeStamp.Expired", "Specified time stamp or date value is expired.");
    }
    const verify::Verdict verdict = verify::verifyAliyun(request.method, *form, accessKeyID_, accessKeySecret_);
    if (!verdict) {
        // The real service shows its own string to sign, to help callers find their mistake.
        return error(400, "SignatureDoesNotMatch",
                     "Specified signature is not matched with our calculation. server string to sign is:" +
                         verify::aliyunStringToSign(request.method, withoutSignature(*form)));
    }
    {
        std::lock_guard lock(nonceMutex_);
        if (!usedNonces_.insert(find(*form, "SignatureNonce").value_or("")).second) {
            return error(400, "SignatureNonceUsed", "Specified signature nonce was used already.");
        }
    }
    Verdict accepted;
    accepted.text = find(*form, "SourceText").value_or("");
    accepted.sourceCode = find(*form, "SourceLanguage").value_or("auto");
    return accepted;
}

FakeService::Reply FakeAliyunService::translation(const RecordedRequest&, const Verdict& accepted) {
    const std::string& source = accepted.sourceCode;
    return {200, dump({{"RequestId", requestId()},
                       {"Data", {{"WordCount", std::to_string(accepted.text.size())},
                                 {"Translated", translationOf(accepted.text)},
                                 {"DetectedLanguage", source == "auto" ? "en" : source}}},
                       {"Code", "200"}})};
}

}  // namespace tavi::test
