#pragma once

#include "core/HttpTransport.h"
#include "core/Result.h"

namespace tavi {

// The Baidu and Volcano rule: any status outside 200-299 fails with apiError
// "HTTP <status>" without looking at the body; everything else passes.
Status checkHttpStatus(const HttpResponse& response);

}  // namespace tavi
