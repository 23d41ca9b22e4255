#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/TextRead.h"

namespace tavi {

// One clipboard item: the bytes it offers under each type, in the owner's
// order. Types are the desktop's own names (X11 targets such as
// "UTF8_STRING" or "image/png").
using ClipboardItem = std::vector<std::pair<std::string, std::string>>;

// Every item of the clipboard, in order, leaving out items that gave no bytes
// under any type. Nothing at all when the clipboard held no items.
using ClipboardSnapshot = std::optional<std::vector<ClipboardItem>>;

struct ClipboardSnapshotRead {
    ClipboardSnapshot snapshot;
    // False when a type could not be read whole (larger than Tavi reads, or
    // its owner stopped answering): putting the snapshot back would lose it.
    bool whole = true;
};

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

    // The plain-text content; nothing when there is none (an image, files,
    // an empty clipboard).
    virtual void readText(std::function<void(TextRead)> done) = 0;

    // Every item with the bytes of every type it offers.
    virtual void readSnapshot(std::function<void(ClipboardSnapshotRead)> done) = 0;

    // Leaves the clipboard without content.
    virtual void clear() = 0;

    // Adds one item. Where the desktop has a single item (X11), a second
    // write replaces the first.
    virtual void write(ClipboardItem item) = 0;

    // Puts `text` on the clipboard as plain text under the desktop's usual
    // text types.
    virtual void writeText(std::string text) = 0;

    // Before Tavi exits: what Tavi serves on the clipboard would vanish with
    // it, so it is handed to the desktop's clipboard manager, if one runs.
    // `done` is called on the owning thread once the manager has it, at
    // once when there is nothing to hand over or no manager, and after a
    // short bound at the latest.
    virtual void handOver(std::function<void()> done) = 0;
};

}  // namespace tavi
