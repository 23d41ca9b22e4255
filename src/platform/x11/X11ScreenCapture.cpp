#include "platform/x11/X11ScreenCapture.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace tavi::x11 {
namespace {

// XWayland shows Tavi the X11 windows alone: a picture of the root window
// would have every native Wayland window black. No picture is better than
// a wrong one.
bool waylandSession() {
    const char* display = std::getenv("WAYLAND_DISPLAY");
    const char* session = std::getenv("XDG_SESSION_TYPE");
    return (display && *display) || (session && std::strcmp(session, "wayland") == 0);
}

// Where an 8-bit colour channel sits in a pixel; nothing for a mask of
// another width (10-bit deep colour and the like).
std::optional<int> channelShift(std::uint32_t mask) {
    if (mask == 0) return std::nullopt;
    const int shift = std::countr_zero(mask);
    if ((mask >> shift) != 0xFF) return std::nullopt;
    return shift;
}

struct PixelLayout {
    int red = 16, green = 8, blue = 0;
    bool swapBytes = false;  // the server sends pixels in the other byte order
};

std::variant<PixelLayout, ScreenCaptureFailure> pixelLayout(const xcb_setup_t* setup, const xcb_screen_t* screen) {
    const int depth = screen->root_depth;
    const ScreenCaptureFailure unsupported{"屏幕的颜色格式（" + std::to_string(depth) +
                                           " 位）不受支持，Tavi 只能截取 24 位或 32 位真彩色的屏幕"};
    if (depth != 24 && depth != 32) return unsupported;
    bool thirtyTwoBits = false;
    for (auto it = xcb_setup_pixmap_formats_iterator(setup); it.rem; xcb_format_next(&it))
        if (it.data->depth == depth) thirtyTwoBits = it.data->bits_per_pixel == 32;
    if (!thirtyTwoBits) return unsupported;
    const xcb_visualtype_t* visual = nullptr;
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem && !visual; xcb_depth_next(&depths))
        for (auto it = xcb_depth_visuals_iterator(depths.data); it.rem; xcb_visualtype_next(&it))
            if (it.data->visual_id == screen->root_visual) visual = it.data;
    if (!visual || (visual->_class != XCB_VISUAL_CLASS_TRUE_COLOR && visual->_class != XCB_VISUAL_CLASS_DIRECT_COLOR))
        return unsupported;
    const std::optional<int> red = channelShift(visual->red_mask), green = channelShift(visual->green_mask),
                             blue = channelShift(visual->blue_mask);
    if (!red || !green || !blue) return unsupported;
    const bool serverLittle = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    return PixelLayout{*red, *green, *blue, serverLittle != (std::endian::native == std::endian::little)};
}

}  // namespace

X11ScreenCapture::X11ScreenCapture(X11Connection& connection, X11Screens& screens)
    : connection_(connection), screens_(screens) {}

ScreenCaptureResult X11ScreenCapture::captureScreens() {
    if (waylandSession()) return ScreenCaptureFailure{"当前的 Wayland 会话不允许 Tavi 截取屏幕"};

    xcb_connection_t* c = connection_.raw();
    const xcb_setup_t* setup = xcb_get_setup(c);
    xcb_screen_iterator_t roots = xcb_setup_roots_iterator(setup);
    for (int i = 0; i < connection_.screenNumber() && roots.rem; ++i) xcb_screen_next(&roots);
    const xcb_screen_t* root = roots.data;
    if (!root) return ScreenCaptureFailure{"找不到 X 显示服务器的屏幕"};
    const auto layout = pixelLayout(setup, root);
    if (const auto* failure = std::get_if<ScreenCaptureFailure>(&layout)) return *failure;
    const PixelLayout pixel = std::get<PixelLayout>(layout);

    std::vector<ScreenImage> images;
    for (const ScreenInfo& screen : screens_.screens()) {
        // A monitor reaching past the root window (a stale RandR setup) is
        // read where the root has pixels.
        const Rect& frame = screen.frame;
        const int left = std::max(frame.x, 0), top = std::max(frame.y, 0);
        const int right = std::min(frame.right(), int{root->width_in_pixels});
        const int bottom = std::min(frame.bottom(), int{root->height_in_pixels});
        if (right <= left || bottom <= top) return ScreenCaptureFailure{"显示器不在屏幕范围内"};
        const int width = right - left, height = bottom - top;

        xcb_generic_error_t* error = nullptr;
        auto reply = connection_.reply<xcb_get_image_reply_t>(
            [&error](xcb_connection_t* conn, xcb_get_image_cookie_t cookie, xcb_generic_error_t**) {
                return xcb_get_image_reply(conn, cookie, &error);
            },
            xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, root->root, static_cast<std::int16_t>(left),
                          static_cast<std::int16_t>(top), static_cast<std::uint16_t>(width),
                          static_cast<std::uint16_t>(height), ~0u));
        const int errorCode = error ? error->error_code : 0;
        std::free(error);
        const std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
        if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < rowBytes * height)
            return ScreenCaptureFailure{"无法读取屏幕图像（X 错误 " + std::to_string(errorCode) + "）"};

        ScreenImage image;
        image.screen = screen;
        image.screen.frame = {left, top, width, height};
        image.width = width;
        image.height = height;
        image.bytesPerLine = static_cast<int>(rowBytes);
        image.pixels.resize(rowBytes * height);
        const std::uint8_t* source = xcb_get_image_data(reply.get());
        auto* target = reinterpret_cast<std::uint32_t*>(image.pixels.data());
        for (std::size_t i = 0, count = static_cast<std::size_t>(width) * height; i < count; ++i) {
            std::uint32_t value;
            std::memcpy(&value, source + i * 4, 4);
            if (pixel.swapBytes) value = __builtin_bswap32(value);
            target[i] = 0xFF000000u | ((value >> pixel.red) & 0xFF) << 16 | ((value >> pixel.green) & 0xFF) << 8 |
                        ((value >> pixel.blue) & 0xFF);
        }
        images.push_back(std::move(image));
    }
    if (images.empty()) return ScreenCaptureFailure{"找不到显示器"};
    return images;
}

}  // namespace tavi::x11
