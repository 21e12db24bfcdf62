// What the messages of a channel hold. Both sides are programs of this build on one machine:
// numbers stand as in memory.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "sandbox/Sandbox.h"
#include "sandbox/text/Collations.h"
#include "tests/windows/Channel.h"

namespace sandbox::remote {

// A request begins with one of these. Those to a server name it next, by its number from 0 in the
// order in which they were made; a channel that holds a wire server has only number 0.
enum class Request : std::uint8_t {
    AddServer,        // settings -> name, port
    ServeResolution,  // port -> port
    MakeWire,         // port -> port
    OfferCallbacks,   // -> number; the host sends its requests over this channel from then on
    ServeWire,        // number of the channel for callbacks, name, version
    Run,              // server, script
    Scalar,           // server, batch -> text
    Log,              // server -> entries
    ClearLog,         // server
    AddFault,         // server, fault
    ClearFaults,      // server
    Kill,             // server
    Restart,          // server
    OpenConnections,  // server -> number
};

// What the host asks of the program that answers batches itself.
enum class Callback : std::uint8_t {
    Login,           // request -> true, session, state; or false, message
    Execute,         // session, batch -> events, state
    ExecuteInScope,  // the same
    EndSession,      // session
};

// What an answer to a batch consists of.
enum class Event : std::uint8_t { Columns, Row, StatementDone, Say, DatabaseChanged, End };

class Writer {
  public:
    template <typename Number>
    requires std::is_arithmetic_v<Number> || std::is_enum_v<Number> ||
        std::is_same_v<Number, Int128>
            Writer& Put(Number number) {
        return Bytes(&number, sizeof number);
    }
    template <typename Unit>
    Writer& Put(std::basic_string_view<Unit> text) {
        Put(static_cast<std::uint64_t>(text.size()));
        return Bytes(text.data(), text.size() * sizeof(Unit));
    }
    template <typename Unit>
    Writer& Put(const std::basic_string<Unit>& text) {
        return Put(std::basic_string_view<Unit>(text));
    }
    Writer& Bytes(const void* bytes, std::size_t size) {
        if (size > 0) message_.append(static_cast<const char*>(bytes), size);
        return *this;
    }
    MessageBytes Take() { return std::move(message_); }

  private:
    MessageBytes message_;
};

class Reader {
  public:
    explicit Reader(const MessageBytes& message) : message_(message) {}

    template <typename Number>
    Number Get() {
        Number number{};
        std::memcpy(&number, Take(sizeof number), sizeof number);
        return number;
    }
    template <typename Unit = char16_t>
    std::basic_string<Unit> Text() {
        std::basic_string<Unit> text(Get<std::uint64_t>(), Unit{});
        if (!text.empty())
            std::memcpy(text.data(), Take(text.size() * sizeof(Unit)), text.size() * sizeof(Unit));
        return text;
    }
    // Points into the message.
    const std::uint8_t* Take(std::size_t size) {
        if (size > message_.size() - at_) throw std::runtime_error("a message is cut short");
        at_ += size;
        return reinterpret_cast<const std::uint8_t*>(message_.data()) + at_ - size;
    }

  private:
    const MessageBytes& message_;
    std::size_t at_ = 0;
};

inline void Put(Writer& to, const Message& message) {
    to.Put(message.number).Put(message.severity).Put(message.state).Put(message.line);
    to.Put(message.text).Put(message.procedure);
}
inline Message GetMessageOf(Reader& from) {
    Message message;
    message.number = from.Get<std::int32_t>();
    message.severity = from.Get<std::uint8_t>();
    message.state = from.Get<std::uint8_t>();
    message.line = from.Get<std::int32_t>();
    message.text = from.Text();
    message.procedure = from.Text();
    return message;
}

inline void Put(Writer& to, const ServerSettings& settings) {
    to.Put(settings.name).Put(settings.version).Put(settings.user).Put(settings.password);
    to.Put(settings.integratedLogin).Put(settings.port);
}
inline ServerSettings GetSettings(Reader& from) {
    ServerSettings settings;
    settings.name = from.Text();
    settings.version = from.Text<char>();
    settings.user = from.Text();
    settings.password = from.Text();
    settings.integratedLogin = from.Get<bool>();
    settings.port = from.Get<std::uint16_t>();
    return settings;
}

inline void Put(Writer& to, const Fault& fault) {
    to.Put(fault.kind).Put(fault.contains).Put(fault.nth).Put(fault.rows);
    to.Put(static_cast<std::int64_t>(fault.delay.count()));
    Put(to, fault.message);
}
inline Fault GetFault(Reader& from) {
    Fault fault;
    fault.kind = from.Get<FaultKind>();
    fault.contains = from.Text();
    fault.nth = from.Get<int>();
    fault.rows = from.Get<int>();
    fault.delay = std::chrono::milliseconds(from.Get<std::int64_t>());
    fault.message = GetMessageOf(from);
    return fault;
}

inline void Put(Writer& to, const std::vector<LogEntry>& log) {
    to.Put(static_cast<std::uint64_t>(log.size()));
    for (const LogEntry& entry : log)
        to.Put(entry.session).Put(entry.database).Put(entry.batch).Put(entry.user);
}
inline std::vector<LogEntry> GetLog(Reader& from) {
    std::vector<LogEntry> log(from.Get<std::uint64_t>());
    for (LogEntry& entry : log) {
        entry.session = from.Get<int>();
        entry.database = from.Text();
        entry.batch = from.Text();
        entry.user = from.Text();
    }
    return log;
}

inline void Put(Writer& to, const LoginRequest& login) {
    to.Put(login.user).Put(login.password).Put(login.integrated).Put(login.database);
    to.Put(login.host).Put(login.application).Put(login.protocolVersion);
    to.Put(static_cast<std::uint64_t>(login.packetSize));
}
inline LoginRequest GetLogin(Reader& from) {
    LoginRequest login;
    login.user = from.Text();
    login.password = from.Text();
    login.integrated = from.Get<bool>();
    login.database = from.Text();
    login.host = from.Text();
    login.application = from.Text();
    login.protocolVersion = from.Get<std::uint32_t>();
    login.packetSize = from.Get<std::uint64_t>();
    return login;
}

// The number of a collation counts within a process; its name counts everywhere.
inline void Put(Writer& to, const SqlType& type) {
    to.Put(type.id).Put(type.length).Put(type.precision).Put(type.scale);
    to.Put(type.collation == kServerCollation ? std::u16string() : FactsOf(type.collation).name);
}
inline SqlType GetType(Reader& from) {
    SqlType type;
    type.id = from.Get<TypeId>();
    type.length = from.Get<int>();
    type.precision = from.Get<std::uint8_t>();
    type.scale = from.Get<std::uint8_t>();
    constexpr int NewestVersion = 15;
    const std::u16string collation = from.Text();
    if (!collation.empty() && !FindCollation(collation, NewestVersion, type.collation))
        throw std::runtime_error("a message names no collation");
    return type;
}

inline void Put(Writer& to, const std::vector<ColumnInfo>& columns) {
    to.Put(static_cast<std::uint64_t>(columns.size()));
    for (const ColumnInfo& column : columns) {
        to.Put(column.name).Put(column.nullable).Put(column.identity).Put(column.computed);
        Put(to, column.type);
    }
}
inline std::vector<ColumnInfo> GetColumns(Reader& from) {
    std::vector<ColumnInfo> columns(from.Get<std::uint64_t>());
    for (ColumnInfo& column : columns) {
        column.name = from.Text();
        column.nullable = from.Get<bool>();
        column.identity = from.Get<bool>();
        column.computed = from.Get<bool>();
        column.type = GetType(from);
    }
    return columns;
}

// `big` is the widest form of a value: it carries the others.
inline void Put(Writer& to, const Cell& cell) {
    to.Put(cell.null).Put(cell.offset).Put(cell.big).Put(static_cast<std::uint64_t>(cell.size));
    to.Bytes(cell.data, cell.size);
    Put(to, cell.variantType);
}
// `data` points into the message.
inline Cell GetCell(Reader& from) {
    Cell cell;
    cell.null = from.Get<bool>();
    cell.offset = from.Get<std::int16_t>();
    cell.big = from.Get<Int128>();
    cell.size = from.Get<std::uint64_t>();
    cell.data = from.Take(cell.size);
    cell.variantType = GetType(from);
    return cell;
}

}  // namespace sandbox::remote
