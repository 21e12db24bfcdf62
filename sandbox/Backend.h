// The seam of the sandbox: the wire side (TDS, sockets) on one side of it, the engine (T-SQL over
// SQLite) on the other. The wire side holds one Session for each login and feeds it batches; the
// engine answers through a ResultSink and knows nothing of packets.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

__extension__ typedef __int128 Int128;

enum class TypeId : std::uint8_t {
    Bit,
    TinyInt,
    SmallInt,
    Int,
    BigInt,
    Decimal,
    Numeric,
    Money,
    SmallMoney,
    Float,
    Real,
    DateTime,
    SmallDateTime,
    Date,
    Time,
    DateTime2,
    DateTimeOffset,
    Char,
    VarChar,
    Text,
    NChar,
    NVarChar,
    NText,
    Xml,
    Binary,
    VarBinary,
    Image,
    Timestamp,
    UniqueIdentifier,
    SqlVariant,
};

struct SqlType {
    TypeId id = TypeId::Int;
    // char, varchar, binary, varbinary: bytes; nchar, nvarchar: characters; -1 for the max types.
    // Unused for the rest.
    int length = 0;
    std::uint8_t precision = 0;   // decimal and numeric only
    std::uint8_t scale = 0;       // decimal, numeric; time, datetime2, datetimeoffset (0 to 7)
    std::uint16_t collation = 0;  // of character types: a CollationId (text/Collations.h)
};

// One value of a row, in the form that its column's type has:
//   bit, integers              i
//   money, smallmoney          i, in 1/10,000
//   decimal, numeric           big, the value times 10^scale
//   float, real                d
//   datetime                   i, in 1/300 s since 1900-01-01 (negative before)
//   smalldatetime              i, in minutes since 1900-01-01
//   date                       i, in days since 0001-01-01
//   time                       i, in 100 ns since midnight
//   datetime2                  i, in 100 ns since 0001-01-01
//   datetimeoffset             i, as datetime2, in UTC; offset in minutes east of UTC
//   character types, xml       data, size: UTF-16LE, size in bytes (also for char, varchar, text)
//   binary types, timestamp    data, size
//   uniqueidentifier           data: the 16 bytes as the server sends them
//   sql_variant                variantType says which of the above
// `data` is valid until the sink's Row() returns.
struct Cell {
    bool null = true;
    std::int16_t offset = 0;
    union {
        std::int64_t i;
        double d;
        Int128 big = 0;
    };
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    SqlType variantType;
};

struct ColumnInfo {
    std::u16string name;
    SqlType type;
    bool nullable = true;
    bool identity = false;
    bool computed = false;
};

// An error or an informational message of the server. Severity 10 and below is information.
struct Message {
    std::int32_t number = 0;
    std::uint8_t severity = 16;
    std::uint8_t state = 1;
    std::u16string text{};
    std::u16string procedure{};
    std::int32_t line = 1;
};

// Where a Session writes the results of a batch, in the order in which they arise.
class ResultSink {
  public:
    virtual ~ResultSink() = default;

    virtual void Columns(const std::vector<ColumnInfo>& columns) = 0;
    // One row of the set that Columns() opened. Returns false when the client has gone away or
    // has cancelled: the engine then stops the batch.
    virtual bool Row(const Cell* cells) = 0;
    // The end of one statement. `count` is absent where the statement has no count (DDL, SET) or
    // NOCOUNT is on. `isSelect`: the statement returned a row set.
    virtual void StatementDone(std::optional<std::int64_t> count, bool isSelect, bool error) = 0;
    virtual void Say(const Message& message) = 0;
    virtual void DatabaseChanged(const std::u16string& from, const std::u16string& to) = 0;
};

// A login that the engine refuses (18456, 4060 ...).
struct LoginRefused : std::runtime_error {
    explicit LoginRefused(Message m) : std::runtime_error("login refused"), message(std::move(m)) {}
    Message message;
};

struct LoginRequest {
    std::u16string user;
    std::u16string password;
    bool integrated = false;  // asked for integrated security, or came with an empty user
    std::u16string database;  // empty: master
    std::u16string host;
    std::u16string application;
    std::uint32_t protocolVersion = 0;  // asked for; 0x74000004: 7.4
    std::size_t packetSize = 0;         // asked for, in bytes; 0: the server's own
};

// One logged-in connection. Destroying it rolls an open transaction back.
// A Session is used by one thread at a time; different Sessions run at the same time.
class Session {
  public:
    virtual ~Session() = default;

    // Runs one batch. Errors go to the sink; nothing is thrown for bad SQL.
    // `cancelled` is looked at between rows and statements.
    virtual void Execute(std::u16string_view batch, ResultSink& sink,
                         const std::atomic<bool>& cancelled) = 0;
    // The same for the text of sp_executesql and of a prepared statement: what it SETs or USEs
    // ends with it, and it must leave as many transactions open as it found (error 266). A session
    // without such state has no need to tell the two apart.
    virtual void ExecuteInScope(std::u16string_view batch, ResultSink& sink,
                                const std::atomic<bool>& cancelled) {
        Execute(batch, sink, cancelled);
    }
    virtual std::u16string Database() const = 0;
    virtual int TransactionDepth() const = 0;
};

class Backend {
  public:
    virtual ~Backend() = default;
    // Throws LoginRefused.
    virtual std::unique_ptr<Session> Login(const LoginRequest& request) = 0;
    virtual std::u16string ServerName() const = 0;
    // "8.00.2039", "10.50.6000" ...: goes into the login acknowledgement.
    virtual std::string Version() const = 0;
};

}  // namespace sandbox
