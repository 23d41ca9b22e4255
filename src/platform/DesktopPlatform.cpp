#include "platform/DesktopPlatform.h"

#include <cstdlib>

#include "platform/x11/X11Platform.h"

namespace tavi {

DesktopPlatformResult openDesktopPlatform(EventLoop& loop, std::function<void(std::string_view)> log) {
    const char* display = std::getenv("DISPLAY");
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    if (!(display && *display)) {
        // Wayland sessions reach X applications through XWayland, which sets
        // DISPLAY; without it there is nothing Tavi can work with yet.
        if (wayland && *wayland)
            return {nullptr, "这个 Wayland 会话没有 XWayland（DISPLAY 未设置），Tavi 目前需要 X11 或 XWayland 才能运行"};
        return {nullptr, "没有图形桌面（DISPLAY 未设置），Tavi 的托盘程序无法启动；命令行子命令仍可使用"};
    }
    std::string why;
    auto connection = x11::X11Connection::open(loop, std::move(log), why);
    if (!connection) return {nullptr, why};
    return {std::make_unique<x11::X11Platform>(std::move(connection)), {}};
}

}  // namespace tavi
