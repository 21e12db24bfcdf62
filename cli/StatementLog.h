// What is sent to the servers, for people: --verbose and --log.
//
// A line for each login and each batch as it is sent, and one when it has ended, with its time. No
// password is in it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

#include "QuillonLib.h"
#include "cli/Console.h"

namespace quillon {

// From any thread. Outlives the connections that it hears of.
class StatementLog : public std::enable_shared_from_this<StatementLog> {
  public:
    // `file`: appended to, or created; empty: none. `shown`: on standard error, too, where very
    // long batches are cut. Throws std::runtime_error where the file cannot be opened.
    StatementLog(const std::string& file, bool shown, Console& console);
    ~StatementLog();
    StatementLog(const StatementLog&) = delete;
    StatementLog& operator=(const StatementLog&) = delete;

    // Has the log hear of all connections to the database. `encryption`: what of a session is
    // encrypted, for people.
    void ListenTo(QuillonLib::Database& database, const std::string& encryption);

    // Throws std::runtime_error where something could not be written to the file.
    void RequireWhole() const;

    // For the listeners. A line about the database of that description.
    std::uint64_t Begin(const std::string& database, std::string_view what) noexcept;
    void End(std::uint64_t number, const std::string& database, std::string_view outcome) noexcept;

  private:
    void Write(std::uint64_t number, const std::string& database, std::string_view what) noexcept;

    std::string name_;
    std::FILE* file_ = nullptr;
    bool shown_;
    Console& console_;
    mutable std::mutex mutex_;
    std::uint64_t last_ = 0;
    std::error_code failure_;  // the first one
};

}  // namespace quillon
