#pragma once

#include "platform/ScreenCapture.h"

namespace tavi::dummy {

// Answers with what the test put here.
class DummyScreenCapture final : public ScreenCapture {
public:
    ScreenCaptureResult captureScreens() override { return result; }
    ScreenCaptureResult result = std::vector<ScreenImage>{};
};

}  // namespace tavi::dummy
