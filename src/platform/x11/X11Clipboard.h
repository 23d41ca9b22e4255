#pragma once

#include <xcb/xcb.h>

#include <map>
#include <string>

#include "platform/Clipboard.h"
#include "platform/SelectionReader.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Selections.h"

namespace tavi::x11 {

// The CLIPBOARD selection. Its change counter counts ownership changes as
// XFixes reports them, Tavi's own included. Tavi writes by becoming the owner
// and serving the data itself for as long as it runs.
class X11Clipboard final : public Clipboard {
public:
    X11Clipboard(X11Connection& connection, X11Selections& selections);

    std::int64_t changeCount() const override { return changeCount_; }
    void readText(std::function<void(TextRead)> done) override;
    void readSnapshot(std::function<void(ClipboardSnapshotRead)> done) override;
    void clear() override;
    void write(ClipboardItem item) override;
    void writeText(std::string text) override;
    void handOver(std::function<void()> done) override;

private:
    struct SnapshotRead;
    void readNextTarget(const std::shared_ptr<SnapshotRead>& read);
    void handle(const xcb_generic_event_t& event);

    X11Connection& connection_;
    X11Selections& selections_;
    xcb_atom_t clipboard_;
    std::uint8_t xfixesEventBase_ = 0;
    std::int64_t changeCount_ = 0;
    // Type and format each target was read with, to serve it back alike.
    std::map<std::string, std::pair<xcb_atom_t, std::uint8_t>, std::less<>> readTypes_;
    Subscription events_;
};

// The PRIMARY selection: what the user last selected with the mouse or
// keyboard, in whichever application has it.
class X11PrimarySelection final : public SelectionReader {
public:
    X11PrimarySelection(X11Connection& connection, X11Selections& selections);
    void readSelectedText(std::function<void(TextRead)> done) override;

private:
    X11Connection& connection_;
    X11Selections& selections_;
};

// Reads `selection` as UTF-8 text: UTF8_STRING, else STRING (Latin-1).
void readSelectionText(X11Connection& connection, X11Selections& selections, xcb_atom_t selection,
                       std::function<void(TextRead)> done);

}  // namespace tavi::x11
