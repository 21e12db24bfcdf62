#include <dlfcn.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "cli/DriverFile.h"

namespace quillon {

namespace {

struct CloseLibrary {
    void operator()(void* library) const noexcept { (void)dlclose(library); }
};

std::string WhyNot() {
    const char* const text = dlerror();
    return text == nullptr ? "no reason is told" : text;
}

}  // namespace

// The driver manager says "file not found" whatever the matter is, so it is looked at here: a
// library that lacks another one, say.
std::string LoadableDriver(const std::string& text) {
    std::string file = std::filesystem::absolute(text).string();
    const std::unique_ptr<void, CloseLibrary> library(dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL));
    if (library == nullptr)
        throw std::runtime_error("the ODBC driver cannot be loaded: " + WhyNot());
    const bool connects = dlsym(library.get(), "SQLDriverConnectW") != nullptr ||
                          dlsym(library.get(), "SQLDriverConnect") != nullptr;
    if (!connects) throw std::runtime_error(file + " is a library, but no ODBC driver");
    return file;
}

}  // namespace quillon
