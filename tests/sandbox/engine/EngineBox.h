// A server of the engine for tests: runs batches and renders what the sink was told as text.
//
//   1|abc|NULL        a row
//   #3                the count of a statement that returned no rows
//   !208 Invalid ...  an error
//   >text             an informational message
//   @w1               the current database has changed
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/Engine.h"

namespace sandbox::testing {

struct Result {
    std::string text;                 // everything, one line each
    std::vector<ColumnInfo> columns;  // of the last row set
    std::vector<Message> errors;
    std::int64_t rows = 0;
    std::vector<std::u16string> cells;  // character cells, unit for unit
    std::vector<std::string> bytes;     // binary cells
};

class Client {
  public:
    explicit Client(Backend& backend, std::u16string_view database = u"",
                    std::u16string_view user = u"sa", std::u16string_view password = u"sandbox");

    Result Run(std::u16string_view batch);
    std::string Text(std::u16string_view batch) { return Run(batch).text; }
    // The number of the first error; 0 where there is none.
    std::int32_t ErrorOf(std::u16string_view batch);
    // As the text of a call of sp_executesql.
    Result RunInScope(std::u16string_view batch);
    std::string TextInScope(std::u16string_view batch) { return RunInScope(batch).text; }
    Session& Raw() { return *session_; }

  private:
    std::unique_ptr<Session> session_;
};

// One server with one database, "w", and a client in it.
class Box {
  public:
    explicit Box(std::string version = "10.50.6000");

    EngineHost host;
    std::unique_ptr<Backend> backend;
    std::unique_ptr<Client> client;

    std::string Text(std::u16string_view batch) { return client->Text(batch); }
    Result Run(std::u16string_view batch) { return client->Run(batch); }
    std::int32_t ErrorOf(std::u16string_view batch) { return client->ErrorOf(batch); }
};

std::string Utf8(std::u16string_view text);

}  // namespace sandbox::testing
