#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <map>
#include <mutex>
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
    xcb_atom_t atom(const std::string& name);

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
};

}  // namespace tavi::test
