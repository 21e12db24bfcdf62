#include "sandbox/engine/storage/Storage.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace sandbox::engine {
namespace {

// SQLite takes a leading byte order mark off every UTF-16 text that it is given. A second one in
// front is what it takes off instead.
bool StartsWithMark(std::u16string_view text) {
    return !text.empty() && (text.front() == 0xFEFF || text.front() == 0xFFFE);
}

}  // namespace

void Statement::Bind(int index, const Value& v) {
    int code = SQLITE_OK;
    switch (v.kind) {
        case Value::Kind::Null:
            code = sqlite3_bind_null(raw_, index);
            break;
        case Value::Kind::Int:
            code = sqlite3_bind_int64(raw_, index, v.i);
            break;
        case Value::Kind::Real:
            code = sqlite3_bind_double(raw_, index, v.d);
            break;
        case Value::Kind::Text: {
            if (StartsWithMark(v.text)) {
                const std::u16string marked = u'\uFEFF' + v.text;
                code = sqlite3_bind_text16(raw_, index, marked.data(),
                                           static_cast<int>(marked.size() * 2), SQLITE_TRANSIENT);
            } else {
                code = sqlite3_bind_text16(raw_, index, v.text.data(),
                                           static_cast<int>(v.text.size() * 2), SQLITE_TRANSIENT);
            }
            break;
        }
        case Value::Kind::Blob:
            code =
                sqlite3_bind_blob64(raw_, index, v.bytes.data(), v.bytes.size(), SQLITE_TRANSIENT);
            break;
    }
    if (code != SQLITE_OK) store_->ThrowLast(code);
}

bool Statement::Step() {
    const int code = sqlite3_step(raw_);
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    store_->ThrowLast(code);
}

void Statement::Reset() {
    sqlite3_reset(raw_);
}

void Statement::Run() {
    try {
        while (Step()) {
        }
    } catch (...) {
        sqlite3_reset(raw_);
        throw;
    }
    sqlite3_reset(raw_);
}

std::u16string Statement::Text(int index) const {
    const std::string_view bytes = ColumnBytes(raw_, index);
    std::u16string text(bytes.size() / 2, u'\0');
    if (!text.empty()) std::memcpy(text.data(), bytes.data(), text.size() * 2);
    return text;
}

Value Statement::Column(int index) const {
    switch (sqlite3_column_type(raw_, index)) {
        case SQLITE_INTEGER:
            return Value::Int(sqlite3_column_int64(raw_, index));
        case SQLITE_FLOAT:
            return Value::Real(sqlite3_column_double(raw_, index));
        case SQLITE_TEXT:
            return Value::Text(Text(index));
        case SQLITE_BLOB: {
            const void* data = sqlite3_column_blob(raw_, index);
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(raw_, index));
            return Value::Blob(std::string(static_cast<const char*>(data), size));
        }
        default:
            return {};
    }
}

Store::Store() {
    // Counting all memory in use costs a mutex of the whole process for each piece. SQLite takes it
    // only before its first connection.
    static const int uncounted = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    static_cast<void>(uncounted);
    if (sqlite3_open_v2(":memory:", &db_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        nullptr) != SQLITE_OK) {
        const std::string text = sqlite3_errmsg(db_);
        sqlite3_close(db_);
        throw StoreError(SQLITE_CANTOPEN, text);
    }
    sqlite3_extended_result_codes(db_, 1);
    Execute("PRAGMA encoding='UTF-16le'");
    Execute("PRAGMA temp_store=MEMORY");
    Execute("PRAGMA trusted_schema=ON");
    Execute("PRAGMA recursive_triggers=OFF");
    // The first use fixes the encoding.
    Execute("CREATE TABLE fix_encoding(x)");
}

Store::~Store() {
    cached_.clear();
    sqlite3_close_v2(db_);
}

Statement Store::Prepare(const std::string& sql) {
    sqlite3_stmt* raw = nullptr;
    const int code = sqlite3_prepare_v3(db_, sql.data(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &raw, nullptr);
    if (code != SQLITE_OK) ThrowLast(code);
    return {*this, raw};
}

Statement& Store::Cached(const std::string& sql) {
    auto& slot = cached_[sql];
    if (!slot) {
        try {
            slot = std::make_unique<Statement>(Prepare(sql));
        } catch (...) {
            cached_.erase(sql);
            throw;
        }
    }
    sqlite3_reset(slot->Raw());
    return *slot;
}

void Store::ForgetCached() {
    cached_.clear();
}

void Store::TrimCached() {
    if (cached_.size() > 400) cached_.clear();
}

void Store::Execute(const std::string& sql) {
    const int code = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) ThrowLast(code);
}

void Store::ThrowLast(int code) {
    if (pending) {
        const SqlError error = std::move(*pending);
        pending.reset();
        throw SqlError(error);
    }
    throw StoreError(code, sqlite3_errmsg(db_));
}

std::u16string_view ReadText(sqlite3_value* value) {
    const void* data = sqlite3_value_blob(value);
    // A value still in SQLite's page may begin at an odd address: have it copied.
    if (reinterpret_cast<std::uintptr_t>(data) % alignof(char16_t) != 0) {
        data = sqlite3_value_text16(value);
    }
    return {static_cast<const char16_t*>(data),
            static_cast<std::size_t>(sqlite3_value_bytes16(value)) / 2};
}

Value ReadValue(sqlite3_value* value) {
    switch (sqlite3_value_type(value)) {
        case SQLITE_INTEGER:
            return Value::Int(sqlite3_value_int64(value));
        case SQLITE_FLOAT:
            return Value::Real(sqlite3_value_double(value));
        case SQLITE_TEXT:
            return Value::Text(std::u16string(ReadText(value)));
        case SQLITE_BLOB: {
            const void* data = sqlite3_value_blob(value);
            return Value::Blob(std::string(static_cast<const char*>(data),
                                           static_cast<std::size_t>(sqlite3_value_bytes(value))));
        }
        default:
            return {};
    }
}

void ReturnText(sqlite3_context* context, std::u16string_view text) {
    if (StartsWithMark(text)) {
        const std::u16string marked = u'\uFEFF' + std::u16string(text);
        sqlite3_result_text64(context, reinterpret_cast<const char*>(marked.data()),
                              marked.size() * 2, SQLITE_TRANSIENT, SQLITE_UTF16LE);
        return;
    }
    sqlite3_result_text64(context, reinterpret_cast<const char*>(text.data()), text.size() * 2,
                          SQLITE_TRANSIENT, SQLITE_UTF16LE);
}

void ReturnValue(sqlite3_context* context, const Value& v) {
    switch (v.kind) {
        case Value::Kind::Null:
            sqlite3_result_null(context);
            break;
        case Value::Kind::Int:
            sqlite3_result_int64(context, v.i);
            break;
        case Value::Kind::Real:
            sqlite3_result_double(context, v.d);
            break;
        case Value::Kind::Text:
            ReturnText(context, v.text);
            break;
        case Value::Kind::Blob:
            sqlite3_result_blob64(context, v.bytes.data(), v.bytes.size(), SQLITE_TRANSIENT);
            break;
    }
}

std::string InlineLiteral(const Value& v) {
    const auto hex = [](std::string_view bytes) {
        static constexpr char kDigits[] = "0123456789ABCDEF";
        std::string out = "X'";
        for (const char c : bytes) {
            out += kDigits[static_cast<unsigned char>(c) >> 4];
            out += kDigits[static_cast<unsigned char>(c) & 15];
        }
        return out + "'";
    };
    switch (v.kind) {
        case Value::Kind::Int:
            return "(" + std::to_string(v.i) + ")";
        case Value::Kind::Real: {
            char buffer[40];
            static_cast<void>(std::snprintf(buffer, sizeof buffer, "%.17e", v.d));
            return std::string("(") + buffer + ")";
        }
        case Value::Kind::Text:
            // The database's encoding is UTF-16LE: the cast takes the units as they are.
            return "CAST(" +
                   hex({reinterpret_cast<const char*>(v.text.data()), v.text.size() * 2}) +
                   " AS TEXT)";
        case Value::Kind::Blob:
            return hex(v.bytes);
        default:
            return "NULL";
    }
}

}  // namespace sandbox::engine
