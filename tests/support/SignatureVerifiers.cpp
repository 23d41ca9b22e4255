#include "SignatureVerifiers.h"

#include <algorithm>
#include <cctype>
#include <map>

#include <openssl/evp.h>

namespace tavi::test::verify {
namespace {

std::string digest(const char* name, std::string_view data) {
    unsigned char out[EVP_MAX_MD_SIZE];
    size_t length = 0;
    if (!EVP_Q_digest(nullptr, name, nullptr, data.data(), data.size(), out, &length)) return {};
    return std::string(reinterpret_cast<char*>(out), length);
}

std::string mac(const char* digestName, std::string_view key, std::string_view data) {
    unsigned char out[EVP_MAX_MD_SIZE];
    size_t length = 0;
    static const unsigned char kNoKey = 0;
    const void* keyBytes = key.empty() ? &kNoKey : static_cast<const void*>(key.data());
    if (!EVP_Q_mac(nullptr, "HMAC", nullptr, digestName, nullptr, keyBytes, key.size(),
                   reinterpret_cast<const unsigned char*>(data.data()), data.size(), out, sizeof out, &length)) {
        return {};
    }
    return std::string(reinterpret_cast<char*>(out), length);
}

std::string lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
    return out;
}

std::string trimBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t");
    return std::string(text.substr(first, last - first + 1));
}

Verdict fail(std::string reason) { return {false, std::move(reason)}; }

}  // namespace

std::optional<std::string> find(const Params& params, std::string_view name) {
    for (const auto& [key, value] : params) {
        if (key == name) return value;
    }
    return std::nullopt;
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (true) {
        const auto end = text.find(separator, start);
        parts.emplace_back(text.substr(start, end - start));
        if (end == std::string_view::npos) return parts;
        start = end + 1;
    }
}

std::string hex(std::string_view bytes) {
    std::string out;
    for (unsigned char b : bytes) {
        const char digits[] = "0123456789abcdef";
        out += digits[b / 16];
        out += digits[b % 16];
    }
    return out;
}

std::string base64(std::string_view bytes) {
    std::string out(4 * ((bytes.size() + 2) / 3) + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    out.resize(static_cast<std::size_t>(length));
    return out;
}

std::optional<std::string> percentDecode(std::string_view text, bool plusIsSpace) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            const auto isHex = [&](std::size_t at) {
                return at < text.size() && std::isxdigit(static_cast<unsigned char>(text[at]));
            };
            if (!isHex(i + 1) || !isHex(i + 2)) return std::nullopt;
            out += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else if (text[i] == '+' && plusIsSpace) {
            out += ' ';
        } else {
            out += text[i];
        }
    }
    return out;
}

std::optional<Params> parseUrlEncoded(std::string_view text, bool plusIsSpace) {
    Params params;
    if (text.empty()) return params;
    for (const std::string& pair : split(text, '&')) {
        const auto equals = pair.find('=');
        const std::string_view whole(pair);
        auto name = percentDecode(whole.substr(0, equals), plusIsSpace);
        auto value = equals == std::string::npos ? std::optional<std::string>("")
                                                 : percentDecode(whole.substr(equals + 1), plusIsSpace);
        if (!name || !value) return std::nullopt;
        params.emplace_back(std::move(*name), std::move(*value));
    }
    return params;
}

// ---------------------------------------------------------------- Baidu

std::string baiduSign(std::string_view appID, std::string_view q, std::string_view salt, std::string_view key) {
    std::string joined;
    joined.append(appID).append(q).append(salt).append(key);
    return hex(digest("MD5", joined));
}

Verdict verifyBaidu(const Params& query, std::string_view appID, std::string_view secretKey) {
    for (const char* name : {"q", "from", "to", "appid", "salt", "sign"}) {
        if (!find(query, name)) return fail(std::string("missing parameter ") + name);
    }
    if (*find(query, "appid") != appID) return fail("unknown appid");
    const std::string expected = baiduSign(appID, *find(query, "q"), *find(query, "salt"), secretKey);
    if (*find(query, "sign") != expected) return fail("sign mismatch, expected " + expected);
    return {true, {}};
}

// ---------------------------------------------------------------- Volcengine

std::string volcanoSigningKey(std::string_view secret, std::string_view date, std::string_view region,
                              std::string_view service, std::string_view terminator) {
    std::string key = mac("SHA256", secret, date);
    key = mac("SHA256", key, region);
    key = mac("SHA256", key, service);
    return mac("SHA256", key, terminator);
}

std::optional<std::string> volcanoCanonicalRequest(const ReceivedRequest& request,
                                                   const std::vector<std::string>& signedHeaders) {
    // Canonical query: decoded pairs, sorted, re-encoded with RFC 3986 rules.
    auto query = parseUrlEncoded(request.rawQuery, false);
    if (!query) return std::nullopt;
    std::sort(query->begin(), query->end());
    std::string canonicalQuery;
    for (const auto& [name, value] : *query) {
        if (!canonicalQuery.empty()) canonicalQuery += '&';
        canonicalQuery += rfc3986Encode(name) + "=" + rfc3986Encode(value);
    }

    std::map<std::string, std::string> headers;
    for (const auto& [name, value] : request.headers) {
        auto& slot = headers[lower(name)];
        slot += (slot.empty() ? "" : ",") + trimBlanks(value);
    }
    std::string canonicalHeaders;
    for (const std::string& name : signedHeaders) {
        const auto it = headers.find(name);
        if (it == headers.end()) return std::nullopt;
        canonicalHeaders += name + ":" + it->second + "\n";
    }
    std::string signedList;
    for (const std::string& name : signedHeaders) signedList += (signedList.empty() ? "" : ";") + name;

    return request.method + "\n" + (request.path.empty() ? "/" : request.path) + "\n" + canonicalQuery + "\n" +
           canonicalHeaders + "\n" + signedList + "\n" + hex(digest("SHA256", request.body));
}

Verdict verifyVolcano(const ReceivedRequest& request, std::string_view accessKeyID, std::string_view secretAccessKey,
                      std::string_view region, std::string_view service) {
    std::string authorization, xDate, contentHash;
    for (const auto& [name, value] : request.headers) {
        const std::string key = lower(name);
        if (key == "authorization") authorization = value;
        if (key == "x-date") xDate = value;
        if (key == "x-content-sha256") contentHash = value;
    }
    const std::string_view prefix = "HMAC-SHA256 ";
    if (authorization.rfind(prefix, 0) != 0) return fail("Authorization is not HMAC-SHA256");
    if (xDate.size() != 16 || xDate[8] != 'T' || xDate[15] != 'Z') return fail("bad X-Date " + xDate);
    if (contentHash != hex(digest("SHA256", request.body))) return fail("X-Content-Sha256 does not match the body");

    std::map<std::string, std::string> fields;
    for (const std::string& part : split(std::string_view(authorization).substr(prefix.size()), ',')) {
        const std::string item = trimBlanks(part);
        const auto equals = item.find('=');
        if (equals == std::string::npos) return fail("malformed Authorization");
        fields[item.substr(0, equals)] = item.substr(equals + 1);
    }
    const std::vector<std::string> credential = split(fields["Credential"], '/');
    if (credential.size() != 5) return fail("malformed Credential");
    if (credential[0] != accessKeyID) return fail("unknown access key");
    const std::string date = xDate.substr(0, 8);
    if (credential[1] != date || credential[2] != region || credential[3] != service || credential[4] != "request") {
        return fail("credential scope does not match");
    }
    const std::vector<std::string> signedHeaders = split(fields["SignedHeaders"], ';');
    for (const char* required : {"host", "x-date", "x-content-sha256"}) {
        if (std::find(signedHeaders.begin(), signedHeaders.end(), required) == signedHeaders.end()) {
            return fail(std::string("unsigned header ") + required);
        }
    }
    const auto canonical = volcanoCanonicalRequest(request, signedHeaders);
    if (!canonical) return fail("a signed header is missing or the query is malformed");
    const std::string scope = date + "/" + std::string(region) + "/" + std::string(service) + "/request";
    const std::string stringToSign = "HMAC-SHA256\n" + xDate + "\n" + scope + "\n" + hex(digest("SHA256", *canonical));
    const std::string expected =
        hex(mac("SHA256", volcanoSigningKey(secretAccessKey, date, region, service), stringToSign));
    if (fields["Signature"] != expected) return fail("signature mismatch, canonical request:\n" + *canonical);
    return {true, {}};
}

// ---------------------------------------------------------------- Alibaba Cloud

std::string rfc3986Encode(std::string_view text) {
    std::string out;
    for (unsigned char c : text) {
        const bool unreserved = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                                c == '-' || c == '_' || c == '.' || c == '~';
        if (unreserved) {
            out += static_cast<char>(c);
        } else {
            const char digits[] = "0123456789ABCDEF";
            out += '%';
            out += digits[c >> 4];
            out += digits[c & 15];
        }
    }
    return out;
}

std::string aliyunStringToSign(std::string_view method, Params params) {
    std::sort(params.begin(), params.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::string canonical;
    for (const auto& [name, value] : params) {
        if (!canonical.empty()) canonical += '&';
        canonical += rfc3986Encode(name) + "=" + rfc3986Encode(value);
    }
    return std::string(method) + "&" + rfc3986Encode("/") + "&" + rfc3986Encode(canonical);
}

std::string aliyunSignature(std::string_view method, const Params& params, std::string_view secret) {
    return base64(mac("SHA1", std::string(secret) + "&", aliyunStringToSign(method, params)));
}

Verdict verifyAliyun(std::string_view method, const Params& params, std::string_view accessKeyID,
                     std::string_view secret) {
    Params unsigned_;
    std::optional<std::string> signature;
    for (const auto& param : params) {
        if (param.first == "Signature") signature = param.second;
        else unsigned_.push_back(param);
    }
    if (!signature) return fail("missing Signature");
    if (find(unsigned_, "AccessKeyId") != std::optional<std::string>(accessKeyID)) return fail("unknown AccessKeyId");
    if (find(unsigned_, "SignatureMethod") != std::optional<std::string>("HMAC-SHA1") ||
        find(unsigned_, "SignatureVersion") != std::optional<std::string>("1.0")) {
        return fail("unsupported signature method");
    }
    const std::string expected = aliyunSignature(method, unsigned_, secret);
    if (*signature != expected) return fail(aliyunStringToSign(method, unsigned_));
    return {true, {}};
}

}  // namespace tavi::test::verify
