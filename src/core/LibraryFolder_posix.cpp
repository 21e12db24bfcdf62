#include <link.h>

#include <cstdint>
#include <string>

#include "core/Error.h"
#include "core/LibraryFolder.h"

namespace QuillonLib {

namespace {

[[noreturn]] void ThrowNotFound() {
    throw Error(ErrorNumber::FileNotFound, u"The file of the library itself cannot be found");
}

struct LoadedObject {
    std::uintptr_t address;
    bool found = false;
    std::string path;  // empty for the program itself
};

int FindObjectOfAddress(dl_phdr_info* info, std::size_t /*size*/, void* data) {
    auto& wanted = *static_cast<LoadedObject*>(data);
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& segment = info->dlpi_phdr[i];
        const std::uintptr_t begin = info->dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD && wanted.address >= begin &&
            wanted.address < begin + segment.p_memsz) {
            wanted.found = true;
            wanted.path = info->dlpi_name;
            return 1;
        }
    }
    return 0;
}

}  // namespace

// The loader's own list, unlike a look-up of a symbol, does not give the program by the name that
// it was called by, which may be relative to a folder left since.
std::filesystem::path LibraryFolder() {
    LoadedObject object{reinterpret_cast<std::uintptr_t>(&LibraryFolder), false, {}};
    dl_iterate_phdr(FindObjectOfAddress, &object);
    if (!object.found) ThrowNotFound();
    std::error_code failure;
    const std::filesystem::path file =
        std::filesystem::canonical(object.path.empty() ? "/proc/self/exe" : object.path, failure);
    if (failure) ThrowNotFound();
    return file.parent_path();
}

}  // namespace QuillonLib
