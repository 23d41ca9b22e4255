#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tavi::test {

// Another application on the desktop, as a real X client: a normal window
// that the window manager focuses, whose "selected text" Control+C copies to
// CLIPBOARD, and which can own PRIMARY or CLIPBOARD with any targets and serve
// them the way toolkits do. Serves on a thread of its own.
class TestApplication {
public:
    using Targets = std::vector<std::pair<std::string, std::string>>;  // target name, bytes

    TestApplication();
    ~TestApplication();
    TestApplication(const TestApplication&) = delete;
    TestApplication& operator=(const TestApplication&) = delete;

    xcb_window_t window() const { return window_; }

    // How this application answers requests for its selections. Real
    // programs are not all well-behaved; these are the ways they are not.
    enum class Fault {
        none,
        refuse,            // answers every data request with "no"
        silent,            // never answers
        wrongFormat,       // sends text in 32-bit units
        oddTargets,        // lists thousands of targets, bogus and repeated ones among them
        stallAfterFirst,   // sends the first increment and then nothing
        underAnnounce,     // announces half the size it then sends
        stopEarly,         // ends after half of what it announced
        changeTypeMidway,  // the second increment comes with another type
        vanishMidway,      // destroys its window after the first increment
        announceTooMuch,   // announces 100 MiB
    };
    // Data larger than `incrementSize` bytes is sent in increments of that
    // size, as toolkits do (0: always whole).
    void setServing(std::size_t incrementSize, Fault fault = Fault::none);

    // Acts as the desktop's clipboard manager: owns CLIPBOARD_MANAGER and,
    // asked to SAVE_TARGETS, reads the listed targets from the clipboard's
    // owner, takes the clipboard over and serves them.
    void actAsClipboardManager();
    // The targets it was last asked to save, by name, in the order listed.
    std::vector<std::string> savedTargets();

    // What Control+C in this window copies.
    void setSelectedText(std::string text);
    // Owns `selection` ("PRIMARY" or "CLIPBOARD") with these targets.
    void own(const std::string& selection, Targets targets);
    // Whether this client still owns the selection (nobody took it since).
    bool owns(const std::string& selection);
    int copiesReceived() const { return copies_; }
    // Key presses that reached this window, as "keycode/state" strings.
    std::vector<std::string> keyPresses();

private:
    void serve();
    void handle(xcb_generic_event_t* event);
    // Answers one request; false when it refuses. Called with mutex_ held.
    bool answer(const xcb_selection_request_event_t& request);
    void sendNextIncrement(xcb_window_t requestor, xcb_atom_t property);
    bool saveClipboard(const xcb_selection_request_event_t& request);
    std::optional<std::string> convertClipboard(xcb_atom_t target);
    std::string atomName(xcb_atom_t atom);
    xcb_atom_t atom(const std::string& name);

    struct Transfer {
        std::string bytes;
        xcb_atom_t type;
        std::size_t offset = 0;
        int sent = 0;
    };

    xcb_connection_t* connection_;
    xcb_window_t window_;
    std::thread thread_;
    std::atomic<bool> stopping_{false};
    int wake_[2] = {-1, -1};
    std::mutex mutex_;
    std::string selectedText_;
    std::map<xcb_atom_t, Targets> owned_;
    std::vector<std::string> keyPresses_;
    std::atomic<int> copies_{0};
    std::size_t incrementSize_ = 0;
    Fault fault_ = Fault::none;
    std::map<std::pair<xcb_window_t, xcb_atom_t>, Transfer> transfers_;
    std::vector<std::string> savedTargets_;
};

// Readable text, Chinese and English lines, of exactly `size` bytes.
std::string textOfSize(std::size_t size);

}  // namespace tavi::test
