#include "core/ChatResponseCheck.h"

#include "core/Json.h"

namespace tavi {

Status validateChatResponse(const HttpResponse& response) {
    if (response.status >= 200 && response.status <= 299) return Done{};
    if (response.status == 429) return TranslationError::rateLimited();
    auto parsed = parseJsonBody(response.body);
    if (parsed.ok()) {
        if (const Json* error = memberObject(parsed.value(), "error")) {
            if (const std::string* message = memberString(*error, "message")) {
                return TranslationError::apiError(*message);
            }
        }
    }
    return TranslationError::apiError("HTTP " + std::to_string(response.status));
}

}  // namespace tavi
