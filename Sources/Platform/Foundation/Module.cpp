#include "Platform/Foundation/Module.h"

#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>

namespace orvex {

namespace {

/// Beside the library, wherever that was installed.
std::string modulePath(const std::string& file) {
    static const char here = 0;
    const auto name = std::filesystem::path("orvexpdf") / file;
    Dl_info library{};
    if (dladdr(&here, &library) == 0 || library.dli_fname == nullptr) {
        return name.string();
    }
    return std::filesystem::path(library.dli_fname).replace_filename(name).string();
}

} // namespace

const void* loadModule(const std::string& file, const char* table, const std::string& purpose) {
    void* library = dlopen(modulePath(file).c_str(), RTLD_NOW | RTLD_LOCAL);
    const void* functions = library == nullptr ? nullptr : dlsym(library, table);
    if (functions == nullptr) {
        const char* why = dlerror();
        throw std::runtime_error("cannot load " + purpose + ": " + (why != nullptr ? why : "no table in it"));
    }
    return functions;
}

} // namespace orvex
