// Any value of any type: the literal that a script has for it is, to a server, that value and no
// other.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Error.h"
#include "direct/SqlText.h"
#include "sandbox/Engine.h"
#include "scripts/SqlLiteral.h"

namespace {

using QuillonLib::ColumnFacts;
using QuillonLib::Value;

// Keeps the one cell of the last row.
class OneCell : public sandbox::ResultSink {
  public:
    std::optional<std::string> bytes;
    std::u16string error;

    void Columns(const std::vector<sandbox::ColumnInfo>&) override {}
    bool Row(const sandbox::Cell* cells) override {
        if (!cells[0].null) {
            bytes.emplace(reinterpret_cast<const char*>(cells[0].data), cells[0].size);
        }
        return true;
    }
    void StatementDone(std::optional<std::int64_t>, bool, bool) override {}
    void Say(const sandbox::Message& message) override {
        if (message.severity > 10) error = message.text;
    }
    void DatabaseChanged(const std::u16string&, const std::u16string&) override {}
};

std::string Read(const std::u16string& expression) {
    static sandbox::EngineHost host;
    static const std::unique_ptr<sandbox::Backend> backend = host.AddServer({});
    static const std::unique_ptr<sandbox::Session> session = [] {
        sandbox::LoginRequest login;
        login.user = u"sa";
        login.password = u"sandbox";
        return backend->Login(login);
    }();
    static const std::atomic<bool> cancelled{false};
    OneCell cell;
    session->Execute(u"SELECT " + expression, cell, cancelled);
    if (!cell.bytes) std::abort();
    return *cell.bytes;
}

std::string Bytes(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}

std::u16string Text(const std::uint8_t* data, std::size_t size) {
    std::u16string text(size / 2, u'\0');
    std::memcpy(text.data(), data, text.size() * 2);
    return text;
}

// The bytes of the value that the column of that type would hold.
void Expect(const ColumnFacts& column, const Value& value, const std::u16string& type,
            const std::string& wanted) {
    const QuillonLib::ObjectName table{u"dbo", u"t"};
    const std::u16string literal = QuillonLib::ColumnLiterals(table, column, column).Of(value);
    // No client may see the end of a batch or a variable in it.
    if (literal.find_first_of(u"\r\n") != std::u16string::npos ||
        literal.find(u"$(") != std::u16string::npos) {
        std::abort();
    }
    if (Read(u"CAST(CAST(" + literal + u" AS " + type + u") AS varbinary(max))") != wanted) {
        std::abort();
    }
}

std::string BigEndian(std::uint64_t bits, int size) {
    std::string bytes;
    for (int i = size - 1; i >= 0; --i)
        bytes += static_cast<char>(bits >> (8 * i));
    return bytes;
}

void CheckText(const std::u16string& text) {
    ColumnFacts column;
    column.Name = u"c";
    column.DataType = u"nvarchar";
    column.Length = -1;
    Expect(column, Value(text), u"nvarchar(max)", Bytes(text));
    // The other script has no other form of text than N'...'.
    if (Read(u"CAST(" + QuillonLib::QuoteUnicodeString(text) + u" AS varbinary(max))") !=
        Bytes(text)) {
        std::abort();
    }
}

void CheckBytes(const std::uint8_t* data, std::size_t size) {
    ColumnFacts column;
    column.Name = u"c";
    column.DataType = u"varbinary";
    column.Length = -1;
    const std::string wanted(reinterpret_cast<const char*>(data), size);
    Expect(column, Value(QuillonLib::ByteArray(data, data + size)), u"varbinary(max)", wanted);
    if (Read(QuillonLib::BytesToHexLiteral({data, size})) != wanted) std::abort();
}

void CheckDouble(double number, std::uint64_t bits) {
    if (number != number || number - number != 0) return;  // NaN, infinities: no server has them
    ColumnFacts column;
    column.Name = u"c";
    column.DataType = u"float";
    Expect(column, Value(number), u"float", BigEndian(bits, 8));
}

void CheckWhole(std::int64_t number) {
    ColumnFacts column;
    column.Name = u"c";
    column.DataType = u"bigint";
    Expect(column, Value(number), u"bigint", BigEndian(static_cast<std::uint64_t>(number), 8));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    const std::uint8_t kind = *data++ % 4;
    --size;
    std::uint64_t bits = 0;
    std::memcpy(&bits, data, size < sizeof bits ? size : sizeof bits);
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    switch (kind) {
        case 0:
            CheckText(Text(data, size));
            break;
        case 1:
            CheckBytes(data, size);
            break;
        case 2:
            CheckDouble(number, bits);
            break;
        default:
            CheckWhole(static_cast<std::int64_t>(bits));
            break;
    }
    return 0;
}
