#pragma once

#include <cstdint>

#include "core/Error.h"

namespace QuillonLib::test {

// The number of the error that the call ends with; 0 where it returns.
template <class Action>
std::int32_t NumberThrown(const Action& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.Number();
    }
    return 0;
}

}  // namespace QuillonLib::test
