#include "report/Pkcs8.h"

#include <cstdint>

namespace tavi {
namespace {

constexpr unsigned char kInteger = 0x02;
constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kSequence = 0x30;

// Longer length fields would describe more than any key holds.
constexpr std::size_t kMaxLengthBytes = 4;

// Takes the element with `tag` off the front of `data` and gives its content.
std::optional<std::string_view> takeElement(std::string_view& data, unsigned char tag) {
    if (data.size() < 2 || static_cast<unsigned char>(data[0]) != tag) return std::nullopt;
    std::size_t position = 1;
    const auto first = static_cast<unsigned char>(data[position++]);
    std::size_t length = first;
    if (first & 0x80) {
        const std::size_t lengthBytes = first & 0x7F;
        // 0x80 is the indefinite form, which DER does not have.
        if (lengthBytes == 0 || lengthBytes > kMaxLengthBytes || data.size() - position < lengthBytes) {
            return std::nullopt;
        }
        length = 0;
        for (std::size_t i = 0; i < lengthBytes; ++i) {
            length = (length << 8) | static_cast<unsigned char>(data[position++]);
        }
    }
    if (length > data.size() - position) return std::nullopt;
    const std::string_view content = data.substr(position, length);
    data.remove_prefix(position + length);
    return content;
}

}  // namespace

std::optional<std::string_view> privateKeyInPkcs8(std::string_view der) {
    auto info = takeElement(der, kSequence);
    if (!info) return std::nullopt;
    if (!takeElement(*info, kInteger)) return std::nullopt;
    if (!takeElement(*info, kSequence)) return std::nullopt;
    return takeElement(*info, kOctetString);
}

}  // namespace tavi
