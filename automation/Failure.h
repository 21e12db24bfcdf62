// Failures on their way to an automation caller: a number (HRESULT), a description and a source.
#pragma once

#include <cstdint>
#include <utility>

#include "automation/AutomationTypes.h"

namespace QuillonLib::Automation {

// A failure that has a number only; the caller's system knows its text.
class ComError {
  public:
    explicit ComError(HRESULT number) : number_(number) {}
    HRESULT Number() const noexcept { return number_; }

  private:
    HRESULT number_;
};

inline void Check(HRESULT result) {
    if (FAILED(result)) throw ComError(result);
}

// Takes the thread's error object away: it is of an earlier failure.
void ForgetFailure() noexcept;

// The failure that another's object just gave, with what its error object tells.
[[noreturn]] void ThrowTold(HRESULT failure);

// Error 13.
[[noreturn]] void ThrowTypeMismatch();

// Run-time errors (5, 13, 457, 3704 ...) have their number in the lower half of 0x800A0000; any
// other number is one of that kind already and stays as it is, but for the bit that tells of a
// failure, which it never lacks.
HRESULT ToResult(std::int32_t errorNumber) noexcept;

// Calls a member of a caller's object. What it tells of its failure (the thread's error object) is
// thrown as an Error, a failure of which it tells nothing as a ComError.
template <class Call>
HRESULT CallOther(Call&& call) {
    ForgetFailure();
    const HRESULT result = std::forward<Call>(call)();
    if (FAILED(result)) ThrowTold(result);
    return result;
}

// To be called in a handler: makes the current exception the thread's error object, as one that
// this interface raised, and returns its number.
HRESULT ReportFailure(const IID& source) noexcept;

// Runs what a method does. Nothing is thrown into the caller, who gets the failure as a number.
template <class Work>
HRESULT Guarded(const IID& source, Work&& work) noexcept {
    try {
        std::forward<Work>(work)();
        return S_OK;
    } catch (...) {
        return ReportFailure(source);
    }
}

}  // namespace QuillonLib::Automation
