#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/Error.h"

namespace QuillonLib {

// What an action raised: number 0 for nothing.
struct Raised {
    std::int32_t number = 0;
    std::u16string description;
    std::u16string source;
};

inline Raised RaisedBy(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return {error.Number(), error.Description(), error.Source()};
    }
    return {};
}

}  // namespace QuillonLib
