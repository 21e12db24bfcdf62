#include "automation/TypeLibrary.h"

#include <cstring>
#include <map>
#include <mutex>

#include "automation/Failure.h"
#include "automation/Module.h"

namespace QuillonLib::Automation {

namespace {

struct GuidOrder {
    bool operator()(const GUID& a, const GUID& b) const noexcept {
        return std::memcmp(&a, &b, sizeof(GUID)) < 0;
    }
};

// Without a destructor: when a process ends, the system's library that owns the descriptions may be
// gone before this one. Release empties it before the DLL is unloaded.
struct Cache {
    ComPtr<ITypeLib> library;
    std::map<GUID, ComPtr<ITypeInfo>, GuidOrder> described;
};

Cache* cache = nullptr;
std::mutex cacheMutex;

}  // namespace

ComPtr<ITypeInfo> TypeLibrary::Describe(const GUID& id) {
    const std::lock_guard lock(cacheMutex);
    if (cache == nullptr) cache = new Cache;
    if (!cache->library) {
        Check(LoadTypeLibEx(Module::Path().c_str(), REGKIND_NONE, cache->library.Put()));
    }
    ComPtr<ITypeInfo>& info = cache->described[id];
    if (!info) Check(cache->library->GetTypeInfoOfGuid(id, info.Put()));
    return info;
}

void TypeLibrary::Release() noexcept {
    const std::lock_guard lock(cacheMutex);
    delete cache;
    cache = nullptr;
}

}  // namespace QuillonLib::Automation
