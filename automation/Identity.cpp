#include "automation/Identity.h"

#include <map>
#include <mutex>

namespace QuillonLib::Automation {

namespace {

// Objects of different threads stand in one list.
std::mutex mutex;

std::map<Identity::Key, IUnknown*>& Objects() {
    static std::map<Identity::Key, IUnknown*> objects;
    return objects;
}

}  // namespace

ComPtr<IUnknown> Identity::Find(const Key& key) {
    const std::lock_guard lock(mutex);
    const auto found = Objects().find(key);
    return found == Objects().end() ? nullptr : ComPtr<IUnknown>(found->second);
}

void Identity::Register(const Key& key, IUnknown* object) {
    const std::lock_guard lock(mutex);
    Objects()[key] = object;
}

void Identity::Forget(const Key& key) noexcept {
    const std::lock_guard lock(mutex);
    Objects().erase(key);
}

}  // namespace QuillonLib::Automation
