// An Error with the side that it came from. Not installed.
#pragma once

#include "core/Error.h"

namespace QuillonLib {

struct SideFailure : Error {
    SideFailure(const Error& error, int of) : Error(error), side(of) {}

    int side;  // 1 or 2
};

// 0: it is not told.
inline int SideOf(const Error& error) {
    const auto* const failure = dynamic_cast<const SideFailure*>(&error);
    return failure == nullptr ? 0 : failure->side;
}

// Runs an action of one side. An Error of it is thrown as SideFailure, without what a DataError
// knows beside.
template <class Action>
auto OfSide(int side, const Action& action) {
    try {
        return action();
    } catch (const SideFailure&) {
        throw;  // it may be the other side's, for which this one waited
    } catch (const Error& error) {
        throw SideFailure(error, side);
    }
}

}  // namespace QuillonLib
