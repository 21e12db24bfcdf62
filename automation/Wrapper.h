// An automation object that shows an object of the library.
#pragma once

#include <memory>
#include <utility>

#include "automation/Give.h"
#include "automation/Identity.h"
#include "automation/Object.h"

namespace QuillonLib::Automation {

template <class Derived, class CoClass, class Interface, class CoreType, class... Extra>
class Wrapper : public Object<Derived, CoClass, Interface, Extra...> {
  public:
    using Core = CoreType;

    explicit Wrapper(std::shared_ptr<Core> core) : core_(std::move(core)) {
        Identity::Register(KeyOf(core_.get()), static_cast<Interface*>(this));
    }

    // The automation object of an object of the library; null for null.
    static ComPtr<Interface> Of(std::shared_ptr<Core> core) {
        if (core == nullptr) return nullptr;
        if (const auto known = Identity::Find(KeyOf(core.get()))) {
            return ComPtr<Interface>(static_cast<Interface*>(known.Get()));
        }
        return ComPtr<Interface>(new Derived(std::move(core)));
    }

    // The object of the library that an automation object shows; null for null. Error 13 for an
    // object that is not of this class, or lives on another thread.
    static std::shared_ptr<Core> CoreOf(IUnknown* object) {
        if (object == nullptr) return nullptr;
        void* found = nullptr;
        if (FAILED(object->QueryInterface(Derived::ClassId(), &found))) ThrowTypeMismatch();
        return ComPtr<Derived>::Attach(static_cast<Derived*>(found))->core_;
    }

  protected:
    ~Wrapper() { Identity::Forget(KeyOf(core_.get())); }

    const std::shared_ptr<Core> core_;

  private:
    static Identity::Key KeyOf(const Core* core) { return {core, &Derived::ClassId(), 0}; }
};

}  // namespace QuillonLib::Automation
