#pragma once

#include "core/HttpTransport.h"
#include "core/Result.h"

namespace tavi {

// The status check shared by the chat-style and Google clients: 2xx passes;
// 429 is rateLimited; otherwise apiError with the body's error.message, or
// "HTTP <status>" when the body has none.
Status validateChatResponse(const HttpResponse& response);

}  // namespace tavi
