#pragma once

#include <string_view>

namespace tavi {

// One line of the application's log on standard error, prefixed "tavi: ".
// Started by the desktop, standard error is the session's journal. Never
// pass a secret.
void logLine(std::string_view line);

}  // namespace tavi
