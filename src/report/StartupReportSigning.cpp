#include "report/StartupReportSigning.h"

#include <memory>

#include <openssl/decoder.h>
#include <openssl/err.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "providers/Crypto.h"
#include "report/Base64Decoding.h"
#include "report/Pkcs8.h"

namespace tavi {
namespace {

struct PkeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct DecoderFree {
    void operator()(OSSL_DECODER_CTX* context) const { OSSL_DECODER_CTX_free(context); }
};
struct DigestContextFree {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Pkey = std::unique_ptr<EVP_PKEY, PkeyFree>;

// The decoded key's bytes, overwritten before their memory is given back.
struct WipedOnExit {
    std::string bytes;
    ~WipedOnExit() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
};

// OpenSSL's description of what just failed on this thread (its error queue
// is per thread), or `fallback` when it recorded nothing. Leaves the queue empty.
std::string openSslFailure(const char* fallback) {
    const unsigned long code = ERR_peek_last_error();
    std::string text = fallback;
    if (code != 0) {
        char buffer[256];
        ERR_error_string_n(code, buffer, sizeof buffer);
        text = buffer;
    }
    ERR_clear_error();
    return text;
}

// The PKCS#1 RSAPrivateKey bytes as a key, and nothing else: neither another
// key type nor another wrapping.
std::variant<Pkey, StartupReportError> importRsaPrivateKey(std::string_view pkcs1) {
    EVP_PKEY* raw = nullptr;
    std::unique_ptr<OSSL_DECODER_CTX, DecoderFree> decoder(OSSL_DECODER_CTX_new_for_pkey(
        &raw, "DER", "type-specific", "RSA", EVP_PKEY_KEYPAIR, nullptr, nullptr));
    auto data = reinterpret_cast<const unsigned char*>(pkcs1.data());
    std::size_t remaining = pkcs1.size();
    const bool decoded = decoder && OSSL_DECODER_from_data(decoder.get(), &data, &remaining) == 1 && raw != nullptr;
    Pkey key(raw);
    if (!decoded) return StartupReportError::signingFailed(openSslFailure("无法创建 RSA 私钥"));
    return key;
}

std::variant<std::string, StartupReportError> signSha256Pkcs1(EVP_PKEY* key, std::string_view message) {
    std::unique_ptr<EVP_MD_CTX, DigestContextFree> context(EVP_MD_CTX_new());
    const auto* bytes = reinterpret_cast<const unsigned char*>(message.data());
    std::size_t length = 0;
    std::string signature;
    // An RSA key's default padding is PKCS#1 v1.5.
    bool signedOk = context && EVP_DigestSignInit_ex(context.get(), nullptr, "SHA256", nullptr, nullptr, key,
                                                     nullptr) == 1 &&
                    EVP_DigestSign(context.get(), nullptr, &length, bytes, message.size()) == 1;
    if (signedOk) {
        signature.resize(length);
        signedOk = EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length, bytes,
                                  message.size()) == 1;
        signature.resize(length);
    }
    if (!signedOk || signature.empty()) {
        return StartupReportError::signingFailed(openSslFailure("SecKeyCreateSignature 返回空签名"));
    }
    return signature;
}

}  // namespace

std::variant<std::string, StartupReportError> signWithPkcs8Key(std::string_view privateKeyText,
                                                                std::string_view message) {
    std::optional<std::string> decoded = decodeStrictBase64(privateKeyText);
    if (!decoded) return StartupReportError::invalidPrivateKey();
    const WipedOnExit der{std::move(*decoded)};
    const std::optional<std::string_view> pkcs1 = privateKeyInPkcs8(der.bytes);
    if (!pkcs1) return StartupReportError::invalidPrivateKeyFormat();

    ERR_clear_error();
    auto key = importRsaPrivateKey(*pkcs1);
    if (auto* error = std::get_if<StartupReportError>(&key)) return std::move(*error);
    auto signature = signSha256Pkcs1(std::get<Pkey>(key).get(), message);
    if (auto* error = std::get_if<StartupReportError>(&signature)) return std::move(*error);
    return base64(std::get<std::string>(signature));
}

}  // namespace tavi
