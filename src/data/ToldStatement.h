// A login or a batch, as a listener is told of it. Not installed.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/Diagnostic.h"
#include "data/StatementListener.h"

namespace QuillonLib {

// The end is told when it goes. The listener outlives it.
class ToldStatement {
  public:
    using Clock = std::chrono::steady_clock;

    explicit ToldStatement(StatementListener& listener)
        : listener_(listener), begin_(Clock::now()), number_(listener.LogsIn()) {}
    ToldStatement(StatementListener& listener, std::u16string_view batch)
        : listener_(listener), begin_(Clock::now()), number_(listener.Sends(batch)) {}
    ~ToldStatement() { listener_.Ends(number_, Clock::now() - begin_, error_); }
    ToldStatement(const ToldStatement&) = delete;
    ToldStatement& operator=(const ToldStatement&) = delete;

    void Fails(const std::vector<Diagnostic>& errors) {
        if (!errors.empty()) error_ = errors.front().description;
    }

  private:
    StatementListener& listener_;
    Clock::time_point begin_;
    std::uint64_t number_;
    std::u16string error_;
};

}  // namespace QuillonLib
