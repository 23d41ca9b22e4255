#include "FakeSignedServices.h"

#include <cstdio>
#include <ctime>

#include <nlohmann/json.hpp>

#include "SignatureVerifiers.h"

namespace tavi::test {
namespace {

using nlohmann::json;
using verify::find;
using verify::Params;

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

// The services accept a clock up to 15 minutes off their own.
bool isFresh(std::optional<std::int64_t> moment) {
    return moment && std::llabs(*moment - static_cast<std::int64_t>(std::time(nullptr))) <= 15 * 60;
}

std::string dump(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

}  // namespace

// ---------------------------------------------------------------- Baidu

FakeBaiduService::FakeBaiduService(std::string appID, std::string secretKey)
    : FakeService("fanyi-api.baidu.com", "GET", "/api/trans/vip/translate"),
      appID_(std::move(appID)),
      secretKey_(std::move(secretKey)) {}

FakeService::Verdict FakeBaiduService::examine(const RecordedRequest& request) {
    const auto query = verify::parseUrlEncoded(request.query, true);
    const verify::Verdict verdict = query ? verify::verifyBaidu(*query, appID_, secretKey_)
                                          : verify::Verdict{false, "malformed query " + request.query};
    if (!verdict) return refuse(verdict.reason, {200, R"({"error_code":"54001","error_msg":"Invalid Sign"})"});
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
    const auto error = [](int status, const char* code, const std::string& reason) {
        return refuse(code + (": " + reason),
                      {status, dump({{"ResponseMetadata", {{"Error", {{"Code", code}, {"Message", reason}}}}}})});
    };
    const auto query = verify::parseUrlEncoded(request.query, false);
    if (!query || find(*query, "Action") != "TranslateText" || find(*query, "Version") != "2020-06-01") {
        return error(404, "InvalidActionOrVersion", "query " + request.query);
    }
    if (!isFresh(parseUtc(request.header("X-Date"), "%4d%2d%2dT%2d%2d%2d%c%n"))) {
        return error(401, "SignatureExpired", "X-Date " + request.header("X-Date"));
    }
    verify::ReceivedRequest wire{request.method, request.path, request.query, {}, request.body};
    for (const auto& header : request.headers) wire.headers.emplace_back(header.name, header.value);
    const verify::Verdict verdict = verify::verifyVolcano(wire, accessKeyID_, secretAccessKey_);
    if (!verdict) return error(401, "SignatureDoesNotMatch", verdict.reason);
    const json body = json::parse(request.body, nullptr, false);
    if (!body.is_object() || !body.contains("TextList") || !body["TextList"].is_array()) {
        return error(400, "MissingParameter", "TextList is required");
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
                        {"DetectedSourceLanguage", "en"}});
    }
    return {200, dump({{"TranslationList", list}, {"ResponseMetadata", {{"Action", "TranslateText"}}}})};
}

// ---------------------------------------------------------------- Aliyun

FakeAliyunService::FakeAliyunService(std::string accessKeyID, std::string accessKeySecret)
    : FakeService("mt.cn-hangzhou.aliyuncs.com", "POST", "/"),
      accessKeyID_(std::move(accessKeyID)),
      accessKeySecret_(std::move(accessKeySecret)) {}

FakeService::Verdict FakeAliyunService::examine(const RecordedRequest& request) {
    const auto error = [](int status, const char* code, const std::string& message) {
        return refuse(code + (": " + message), {status, dump({{"Code", code}, {"Message", message}})});
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
        Params unsigned_ = *form;
        std::erase_if(unsigned_, [](const auto& param) { return param.first == "Signature"; });
        return error(400, "SignatureDoesNotMatch",
                     "Specified signature is not matched with our calculation. server string to sign is:" +
                         verify::aliyunStringToSign(request.method, unsigned_));
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
    return {200, dump({{"Data", {{"WordCount", std::to_string(accepted.text.size())},
                                 {"Translated", translationOf(accepted.text)},
                                 {"DetectedLanguage", source == "auto" ? "en" : source}}},
                       {"Code", "200"}})};
}

}  // namespace tavi::test
