// SQLite, wrapped: connections, statements, values in and out.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Value.h"

namespace sandbox::engine {

// A failure that SQLite reports itself.
struct StoreError : std::runtime_error {
    StoreError(int c, const std::string& text) : std::runtime_error(text), code(c) {}
    int code;  // extended
};

class Store;

// A prepared statement.
class Statement {
  public:
    Statement() = default;
    Statement(Store& store, sqlite3_stmt* raw) : store_(&store), raw_(raw) {}
    ~Statement() { sqlite3_finalize(raw_); }
    Statement(Statement&& other) noexcept : store_(other.store_), raw_(other.raw_) {
        other.raw_ = nullptr;
    }
    Statement& operator=(Statement&& other) noexcept {
        std::swap(store_, other.store_);
        std::swap(raw_, other.raw_);
        return *this;
    }

    sqlite3_stmt* Raw() const { return raw_; }
    explicit operator bool() const { return raw_ != nullptr; }

    void Bind(int index, const Value& value);
    template <typename... Values>
    Statement& BindAll(const Values&... values) {
        int index = 0;
        (Bind(++index, ToValue(values)), ...);
        return *this;
    }
    // True while there is a row. Throws SqlError (raised by a function) or StoreError.
    bool Step();
    void Reset();
    // Runs to the end and resets.
    void Run();

    Value Column(int index) const;
    std::int64_t Integer(int index) const { return sqlite3_column_int64(raw_, index); }
    std::u16string Text(int index) const;
    bool IsNull(int index) const { return sqlite3_column_type(raw_, index) == SQLITE_NULL; }

  private:
    static const Value& ToValue(const Value& v) { return v; }
    static Value ToValue(std::int64_t v) { return Value::Int(v); }
    static Value ToValue(int v) { return Value::Int(v); }
    static Value ToValue(bool v) { return Value::Int(v ? 1 : 0); }
    static Value ToValue(std::u16string_view v) { return Value::Text(std::u16string(v)); }
    static Value ToValue(const std::u16string& v) { return Value::Text(v); }

    Store* store_ = nullptr;
    sqlite3_stmt* raw_ = nullptr;
};

// One SQLite connection. Its main database is empty memory; database files are attached.
class Store {
  public:
    Store();
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    sqlite3* Raw() const { return db_; }
    Statement Prepare(const std::string& sql);
    // A statement that stays prepared; reset before it is handed out.
    Statement& Cached(const std::string& sql);
    void ForgetCached();
    // Forgets when there are very many; no reference that Cached() gave may be in use.
    void TrimCached();
    void Execute(const std::string& sql);
    std::int64_t Changes() const { return sqlite3_total_changes64(db_); }

    // Set by a user function that fails; taken by the statement that called it.
    std::optional<SqlError> pending;

    [[noreturn]] void ThrowLast(int code);

  private:
    sqlite3* db_ = nullptr;
    std::unordered_map<std::string, std::unique_ptr<Statement>> cached_;
};

// Values of user functions.
Value ReadValue(sqlite3_value* value);
std::u16string_view ReadText(sqlite3_value* value);
void ReturnValue(sqlite3_context* context, const Value& value);
void ReturnText(sqlite3_context* context, std::u16string_view text);

// The raw bytes of a text or blob column, without any conversion or copy.
inline std::string_view ColumnBytes(sqlite3_stmt* s, int index) {
    const void* data = sqlite3_column_blob(s, index);
    return {static_cast<const char*>(data),
            static_cast<std::size_t>(sqlite3_column_bytes16(s, index))};
}

// A literal for SQL text that cannot carry parameters (triggers, generated columns).
std::string InlineLiteral(const Value& value);

}  // namespace sandbox::engine
