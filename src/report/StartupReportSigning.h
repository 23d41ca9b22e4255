#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "report/StartupReportError.h"

namespace tavi {

// Signs `message` with the RSA key given as base64 text of a PKCS#8
// structure: RSA PKCS#1 v1.5 over SHA-256 of the message. Gives the
// signature as standard base64 with padding and no line breaks.
//
// Failures, in the order they are checked: text that is not base64
// (invalidPrivateKey); bytes that are not PKCS#8 (invalidPrivateKeyFormat);
// a wrapped key that is not an RSA private key, or a failed signature
// (signingFailed with OpenSSL's words). The key never appears in an error.
std::variant<std::string, StartupReportError> signWithPkcs8Key(std::string_view privateKeyText,
                                                                std::string_view message);

}  // namespace tavi
