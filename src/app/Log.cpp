#include "app/Log.h"

#include <cstdio>
#include <string>

namespace tavi {

void logLine(std::string_view line) {
    std::string text = "tavi: ";
    text.append(line);
    text.push_back('\n');
    // One write per line, so that lines of several threads never interleave.
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace tavi
