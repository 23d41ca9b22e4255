// The UTF-8 decoder and what is built on it: trimming, character and
// grapheme-cluster counts, secret masking.
#include "FuzzSupport.h"
#include "core/Text.h"
#include "core/Utf8.h"
#include "settings/SettingsText.h"

using namespace tavi;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    std::size_t scalars = 0;
    bool allValid = true;
    std::string reencoded;
    for (std::size_t pos = 0; pos < text.size(); ++scalars) {
        const Utf8Scalar scalar = decodeUtf8At(text, pos);
        fuzz::require(scalar.length >= 1 && scalar.length <= 4 && pos + scalar.length <= text.size(),
                      "a decoded length stays inside the text");
        fuzz::require(scalar.valid || scalar.length == 1, "an invalid sequence is one byte");
        if (scalar.valid) {
            fuzz::require(scalar.value <= 0x10FFFF && (scalar.value < 0xD800 || scalar.value > 0xDFFF),
                          "a valid scalar is a Unicode scalar value");
            appendUtf8(reencoded, scalar.value);
        } else {
            allValid = false;
            reencoded += text[pos];
        }
        pos += scalar.length;
    }
    fuzz::require(reencoded == text, "valid scalars encode back to their own bytes");
    fuzz::require(isValidUtf8(text) == allValid, "isValidUtf8 agrees with the decoder");
    fuzz::require(countScalarValues(text) == scalars, "countScalarValues counts what the decoder decodes");

    const std::size_t clusters = countGraphemeClusters(text);
    fuzz::require(clusters <= scalars && (clusters > 0) == !text.empty(), "clusters group characters");

    const std::string trimmed = trimWhitespaceAndNewlines(text);
    fuzz::require(text.find(trimmed) != std::string_view::npos, "trimming only removes");
    fuzz::require(trimWhitespaceAndNewlines(trimmed) == trimmed, "trimming twice changes nothing");

    const std::string masked = maskedSecret(text);
    if (!text.empty() && masked.size() > 8) {
        const std::string_view tail = std::string_view(masked).substr(8);
        fuzz::require(text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail,
                      "a masked secret shows only its own tail");
    }
    return 0;
}
