// Runs SQL as a script's own client would, so that tests need no data access of the library.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace scripthost {

// One connection, as a script that keeps a transaction over several batches needs it.
class SqlSession {
  public:
    explicit SqlSession(const std::wstring& connectionString);
    SqlSession(const SqlSession&) = delete;
    SqlSession& operator=(const SqlSession&) = delete;
    ~SqlSession();

    // Runs a batch. Empty when it succeeded, else the server's messages.
    std::wstring Run(const std::wstring& sql);

    // The same, one result after the other: each tells its own messages. Nothing behind the last
    // one, and behind one that failed.
    std::wstring Start(const std::wstring& sql);
    std::optional<std::wstring> Next();

  private:
    class State;
    std::unique_ptr<State> state_;
};

}  // namespace scripthost
