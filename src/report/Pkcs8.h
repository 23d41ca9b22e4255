#pragma once

#include <optional>
#include <string_view>

namespace tavi {

// The private key inside a PKCS#8 PrivateKeyInfo, found by walking its DER:
// the outer SEQUENCE, the version INTEGER, the algorithm-identifier SEQUENCE
// and the OCTET STRING whose content is returned (for RSA, the PKCS#1
// RSAPrivateKey). Nothing when an element is missing, has another tag or a
// length that runs past the data. The algorithm is not looked at: whether
// the key is RSA is for the key import to find out.
std::optional<std::string_view> privateKeyInPkcs8(std::string_view der);

}  // namespace tavi
