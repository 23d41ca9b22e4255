#include "platform/x11/XWayland.h"

#include <xcb/randr.h>

#include <string_view>

namespace tavi::x11 {

bool isXWayland(X11Connection& connection) {
    xcb_connection_t* c = connection.raw();
    // Xwayland 23.1 and later announce an extension of this name.
    constexpr std::string_view kName = "XWAYLAND";
    auto extension = connection.reply<xcb_query_extension_reply_t>(
        xcb_query_extension_reply, xcb_query_extension(c, kName.size(), kName.data()));
    if (extension && extension->present) return true;
    // Earlier ones only in their RandR outputs' names: XWAYLAND0, XWAYLAND1...
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(c, &xcb_randr_id);
    if (!randr || !randr->present) return false;
    auto resources = connection.reply<xcb_randr_get_screen_resources_current_reply_t>(
        xcb_randr_get_screen_resources_current_reply, xcb_randr_get_screen_resources_current(c, connection.root()));
    if (!resources) return false;
    const xcb_randr_output_t* outputs = xcb_randr_get_screen_resources_current_outputs(resources.get());
    const int count = xcb_randr_get_screen_resources_current_outputs_length(resources.get());
    for (int i = 0; i < count; ++i) {
        auto output = connection.reply<xcb_randr_get_output_info_reply_t>(
            xcb_randr_get_output_info_reply, xcb_randr_get_output_info(c, outputs[i], resources->config_timestamp));
        if (!output) continue;
        const std::string_view name(reinterpret_cast<const char*>(xcb_randr_get_output_info_name(output.get())),
                                    static_cast<std::size_t>(xcb_randr_get_output_info_name_length(output.get())));
        if (name.starts_with(kName)) return true;
    }
    return false;
}

}  // namespace tavi::x11
