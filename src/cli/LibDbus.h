#pragma once

#include <dbus/dbus.h>

#include <string>

namespace tavi::cli {

// The functions of libdbus the desktop actions use, loaded when an action is
// sent. Linked, libdbus would bring libsystemd and its compression and
// crypto libraries into every tavi command, translate included.
struct LibDbus {
#define TAVI_LIBDBUS_FUNCTIONS(X)                                                                                   \
    X(dbus_error_init)                                                                                               \
    X(dbus_error_free)                                                                                               \
    X(dbus_bus_get_private)                                                                                          \
    X(dbus_bus_name_has_owner)                                                                                       \
    X(dbus_bus_add_match)                                                                                            \
    X(dbus_connection_set_exit_on_disconnect)                                                                        \
    X(dbus_connection_close)                                                                                         \
    X(dbus_connection_unref)                                                                                         \
    X(dbus_connection_read_write)                                                                                    \
    X(dbus_connection_pop_message)                                                                                   \
    X(dbus_connection_send_with_reply_and_block)                                                                     \
    X(dbus_message_new_method_call)                                                                                  \
    X(dbus_message_unref)                                                                                            \
    X(dbus_message_iter_init_append)                                                                                 \
    X(dbus_message_iter_append_basic)                                                                                \
    X(dbus_message_iter_open_container)                                                                              \
    X(dbus_message_iter_close_container)
#define TAVI_LIBDBUS_MEMBER(name) decltype(&::name) name = nullptr;
    TAVI_LIBDBUS_FUNCTIONS(TAVI_LIBDBUS_MEMBER)
#undef TAVI_LIBDBUS_MEMBER

    // The library, loaded once; nullptr with `why` filled when it cannot be.
    static const LibDbus* load(std::string& why);
};

}  // namespace tavi::cli
