#include "platform/DesktopPlatform.h"

#include <xcb/xcb.h>

#include <cstdlib>

#include "platform/portal/PortalPlatform.h"
#include "platform/x11/X11Platform.h"

namespace tavi {
namespace {

bool isSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

}  // namespace

std::optional<std::string> desktopUnavailable() {
    if (!isSet("DISPLAY")) {
        // Wayland sessions reach X applications through XWayland, which sets
        // DISPLAY; without it there is nothing Tavi can work with yet.
        if (isSet("WAYLAND_DISPLAY"))
            return "这个 Wayland 会话没有 XWayland（DISPLAY 未设置），托盘程序目前需要 X11 或 XWayland；命令行子命令仍可使用";
        return "没有图形桌面（DISPLAY 未设置），托盘程序无法启动；命令行子命令仍可使用";
    }
    xcb_connection_t* probe = xcb_connect(nullptr, nullptr);
    const int error = xcb_connection_has_error(probe);
    xcb_disconnect(probe);
    if (error)
        return "无法连接到 X 显示服务器 " + std::string(std::getenv("DISPLAY")) + "，托盘程序无法启动（xcb 错误 " +
               std::to_string(error) + "）";
    return std::nullopt;
}

DesktopPlatformResult openDesktopPlatform(EventLoop& loop, std::function<void(std::string_view)> log) {
    std::string why;
    auto connection = x11::X11Connection::open(loop, log, why);
    if (!connection) return {nullptr, why};
    auto platform = std::make_unique<x11::X11Platform>(std::move(connection));
    // Everything but the shortcuts and the screen works through XWayland; a
    // Wayland desktop hands those out through its portal alone.
    if (portal::isWaylandSession()) return {portal::withPortal(std::move(platform), std::move(log)), {}};
    return {std::move(platform), {}};
}

}  // namespace tavi
