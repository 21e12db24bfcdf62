// Owns one reference to a COM object.
#pragma once

#include <utility>

#include "automation/AutomationTypes.h"

namespace QuillonLib::Automation {

template <class T>
class ComPtr {
  public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    // Shares the object.
    ComPtr(T* object) : object_(object) {
        if (object_ != nullptr) object_->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.object_) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr() {
        if (object_ != nullptr) object_->Release();
    }

    // Takes over a reference that the caller owns.
    static ComPtr Attach(T* object) {
        ComPtr pointer;
        pointer.object_ = object;
        return pointer;
    }
    T* Detach() noexcept { return std::exchange(object_, nullptr); }

    T* Get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // Where a function puts the reference that it gives.
    T** Put() noexcept {
        *this = nullptr;
        return &object_;
    }
    // For a function that may replace the reference.
    T** InOut() noexcept { return &object_; }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

    // Null where the object has no such interface, and for null.
    template <class Other>
    ComPtr<Other> As() const {
        ComPtr<Other> other;
        if (object_ != nullptr) object_->QueryInterface(__uuidof(Other), other.PutVoid());
        return other;
    }

  private:
    T* object_ = nullptr;
};

}  // namespace QuillonLib::Automation
