#include "automation/Identity.h"

#include <map>
#include <mutex>
#include <utility>

namespace QuillonLib::Automation {

namespace {

using Objects = std::map<Identity::Key, IUnknown*>;

// Objects of different threads stand in one list. It is there as long as there are any: who lets go
// of an object when the process ends must find it, and nothing is to be left when the DLL goes.
std::mutex mutex;
Objects* objects = nullptr;

}  // namespace

ComPtr<IUnknown> Identity::Find(const Key& key) {
    const std::lock_guard lock(mutex);
    if (objects == nullptr) return nullptr;
    const auto found = objects->find(key);
    return found == objects->end() ? nullptr : ComPtr<IUnknown>(found->second);
}

void Identity::Register(const Key& key, IUnknown* object) {
    const std::lock_guard lock(mutex);
    if (objects == nullptr) objects = new Objects;
    (*objects)[key] = object;
}

void Identity::Forget(const Key& key) noexcept {
    const std::lock_guard lock(mutex);
    if (objects == nullptr) return;
    objects->erase(key);
    if (objects->empty()) delete std::exchange(objects, nullptr);
}

}  // namespace QuillonLib::Automation
