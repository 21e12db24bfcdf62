// Who hears what is sent to a server, and how long it took.
#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace QuillonLib {

// Called by the thread that uses a connection, by several at once where connections share a
// listener. It hears of every login and every batch; what begins ends, unless the process does.
//
// The password of a login is in nothing that it is told: of a batch that holds one it hears another
// text.
class StatementListener {
  public:
    virtual ~StatementListener() = default;

    // Each returns a number of the listener's own choice, by which it is told of the end.
    virtual std::uint64_t LogsIn() noexcept = 0;
    virtual std::uint64_t Sends(std::u16string_view batch) noexcept = 0;
    // `time`: until all results were read, or somebody had enough of them. `error`: the first one;
    // empty where there was none.
    virtual void Ends(std::uint64_t number, std::chrono::nanoseconds time,
                      std::u16string_view error) noexcept = 0;
};

}  // namespace QuillonLib
