// The JSON helpers: parsing a body, the typed member lookups, serialisation
// and the chat-style status check.
#include "FuzzSupport.h"
#include "core/ChatResponseCheck.h"
#include "core/Json.h"

using namespace tavi;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const long status = 200 + 100 * (input.byte() % 4);  // 200, 300, 400 or 500
    const std::string body(input.rest());

    const Result<Json> parsed = parseJsonBody(body);
    if (parsed.ok()) {
        fuzz::require(body.find('\0') == std::string::npos, "no body with a NUL parses");
        const Json& value = parsed.value();
        for (const char* key : {"error", "message", "choices", "content", "data", "translations", "text"}) {
            if (const Json* object = memberObject(value, key)) fuzz::require(object->is_object(), "memberObject");
            if (const Json* array = memberArray(value, key)) fuzz::require(array->is_array(), "memberArray");
            (void)memberString(value, key);
        }
        // What we serialise parses back to the same value.
        const Result<Json> again = parseJsonBody(toJsonText(value));
        fuzz::require(again.ok() && again.value() == value, "serialised JSON parses back unchanged");
    }
    const Status check = validateChatResponse(HttpResponse{status, {}, body});
    fuzz::require(check.ok() == (status == 200), "only a 2xx reply passes the status check");
    return 0;
}
