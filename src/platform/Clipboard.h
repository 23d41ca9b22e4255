#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavi {

// One clipboard item: the bytes it offers under each type, in the owner's
// order. Types are the desktop's own names (X11 targets such as
// "UTF8_STRING" or "image/png").
using ClipboardItem = std::vector<std::pair<std::string, std::string>>;

// Every item of the clipboard, in order, leaving out items that gave no bytes
// under any type. Nothing at all when the clipboard held no items.
using ClipboardSnapshot = std::optional<std::vector<ClipboardItem>>;

// The system clipboard (on X11 the CLIPBOARD selection).
//
// Owning thread only. Reads ask the clipboard's owner, which may be another
// program, so they answer later on the owning thread, within a bounded time;
// an owner that does not answer in time gives what was read so far.
class Clipboard {
public:
    virtual ~Clipboard() = default;

    // Grows by at least one with every change of the clipboard's content,
    // Tavi's own writes included.
    virtual std::int64_t changeCount() const = 0;

    // The plain-text content, as UTF-8 (bytes that are not become U+FFFD);
    // nothing when there is none (an image, files, an empty clipboard).
    virtual void readText(std::function<void(std::optional<std::string>)> done) = 0;

    // Every item with the bytes of every type it offers.
    virtual void readSnapshot(std::function<void(ClipboardSnapshot)> done) = 0;

    // Leaves the clipboard without content.
    virtual void clear() = 0;

    // Adds one item. Where the desktop has a single item (X11), a second
    // write replaces the first.
    virtual void write(ClipboardItem item) = 0;

    // Puts `text` on the clipboard as plain text under the desktop's usual
    // text types.
    virtual void writeText(std::string text) = 0;
};

}  // namespace tavi
