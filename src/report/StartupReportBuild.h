#pragma once

#include <string_view>

namespace tavi {

// What the build was configured with (CMake cache variables TAVI_REPORT_URL
// and TAVI_REPORT_KEY_FILE, and the project version). Defined in a source
// file that CMake generates from StartupReportBuild.cpp.in.
struct StartupReportBuild {
    std::string_view endpoint;        // the analytics service's address; empty when none
    bool hasPrivateKey = false;       // whether a key file was named
    std::string_view privateKeyText;  // that file's content, as it was read
    std::string_view appVersion;
};

const StartupReportBuild& startupReportBuild();

}  // namespace tavi
