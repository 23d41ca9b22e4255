#include "cli/LibDbus.h"

#include <dlfcn.h>

namespace tavi::cli {

const LibDbus* LibDbus::load(std::string& why) {
    static std::string failure;
    static const LibDbus* const library = [] () -> const LibDbus* {
        void* handle = ::dlopen("libdbus-1.so.3", RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            failure = ::dlerror();
            return nullptr;
        }
        static LibDbus functions;
#define TAVI_LIBDBUS_RESOLVE(name)                                                                                 \
    functions.name = reinterpret_cast<decltype(&::name)>(::dlsym(handle, #name));                                  \
    if (!functions.name) {                                                                                           \
        failure = "libdbus-1 没有 " #name;                                                                          \
        return nullptr;                                                                                              \
    }
        TAVI_LIBDBUS_FUNCTIONS(TAVI_LIBDBUS_RESOLVE)
#undef TAVI_LIBDBUS_RESOLVE
        return &functions;
    }();
    if (!library) why = failure;
    return library;
}

}  // namespace tavi::cli
