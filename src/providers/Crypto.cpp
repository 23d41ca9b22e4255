#include "providers/Crypto.h"

#include <memory>
#include <stdexcept>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

namespace tavi {
namespace {

// Fetching an algorithm walks the provider tables; doing it once per process
// keeps signing cheap. Fetched objects are immutable and safe to share.
const EVP_MD* fetchDigest(const char* name) {
    EVP_MD* digest = EVP_MD_fetch(nullptr, name, nullptr);
    if (!digest) throw std::runtime_error(std::string("OpenSSL digest unavailable: ") + name);
    return digest;
}

EVP_MAC* fetchHmac() {
    EVP_MAC* mac = EVP_MAC_fetch(nullptr, OSSL_MAC_NAME_HMAC, nullptr);
    if (!mac) throw std::runtime_error("OpenSSL HMAC unavailable");
    return mac;
}

std::string digest(const EVP_MD* algorithm, std::string_view data) {
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(data.data(), data.size(), out, &length, algorithm, nullptr) != 1) {
        throw std::runtime_error("OpenSSL digest failed");
    }
    return std::string(reinterpret_cast<const char*>(out), length);
}

struct MacContextFree {
    void operator()(EVP_MAC_CTX* context) const { EVP_MAC_CTX_free(context); }
};

using MacContext = std::unique_ptr<EVP_MAC_CTX, MacContextFree>;

// An HMAC context with its digest already chosen. Choosing the digest fetches
// it again each time, which cost more than the MAC itself; copying a prepared
// context skips that.
MacContext prepareHmac(const char* digestName) {
    static EVP_MAC* const kHmac = fetchHmac();
    MacContext context(EVP_MAC_CTX_new(kHmac));
    const OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>(digestName), 0),
        OSSL_PARAM_construct_end(),
    };
    if (!context || EVP_MAC_CTX_set_params(context.get(), params) != 1) {
        throw std::runtime_error(std::string("OpenSSL HMAC-") + digestName + " unavailable");
    }
    return context;
}

std::string hmac(const EVP_MAC_CTX* prepared, std::string_view key, std::string_view message) {
    MacContext context(EVP_MAC_CTX_dup(prepared));
    if (!context) throw std::runtime_error("OpenSSL HMAC context allocation failed");
    // An empty key is legal for HMAC; OpenSSL wants a non-null pointer for it.
    static const unsigned char kEmpty = 0;
    const auto* keyBytes = key.empty() ? &kEmpty : reinterpret_cast<const unsigned char*>(key.data());
    unsigned char out[EVP_MAX_MD_SIZE];
    std::size_t length = 0;
    if (EVP_MAC_init(context.get(), keyBytes, key.size(), nullptr) != 1 ||
        EVP_MAC_update(context.get(), reinterpret_cast<const unsigned char*>(message.data()), message.size()) != 1 ||
        EVP_MAC_final(context.get(), out, &length, sizeof out) != 1) {
        throw std::runtime_error("OpenSSL HMAC failed");
    }
    return std::string(reinterpret_cast<const char*>(out), length);
}

}  // namespace

std::string md5(std::string_view data) {
    static const EVP_MD* const kMd5 = fetchDigest("MD5");
    return digest(kMd5, data);
}

std::string sha256(std::string_view data) {
    static const EVP_MD* const kSha256 = fetchDigest("SHA256");
    return digest(kSha256, data);
}

std::string hmacSha256(std::string_view key, std::string_view message) {
    static const MacContext kPrepared = prepareHmac("SHA256");
    return hmac(kPrepared.get(), key, message);
}

std::string hmacSha1(std::string_view key, std::string_view message) {
    static const MacContext kPrepared = prepareHmac("SHA1");
    return hmac(kPrepared.get(), key, message);
}

std::string base64(std::string_view bytes) {
    std::string encoded(4 * ((bytes.size() + 2) / 3) + 1, '\0');  // room for the terminating NUL
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    encoded.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return encoded;
}

}  // namespace tavi
