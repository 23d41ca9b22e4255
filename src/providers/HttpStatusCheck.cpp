#include "providers/HttpStatusCheck.h"

#include <string>

namespace tavi {

Status checkHttpStatus(const HttpResponse& response) {
    if (response.status >= 200 && response.status <= 299) return Done{};
    return TranslationError::apiError("HTTP " + std::to_string(response.status));
}

}  // namespace tavi
