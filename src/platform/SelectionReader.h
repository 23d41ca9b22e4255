#pragma once

#include <functional>

#include "platform/TextRead.h"

namespace tavi {

// The text selected in the application the user works in (on X11 the
// PRIMARY selection). Owning thread only; answers there, within a bounded time.
class SelectionReader {
public:
    virtual ~SelectionReader() = default;

    // The selected text exactly as the application gives it (possibly empty),
    // or nothing when no selection can be read.
    virtual void readSelectedText(std::function<void(TextRead)> done) = 0;
};

}  // namespace tavi
