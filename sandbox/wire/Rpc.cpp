#include "Rpc.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Parameter.h"
#include "RequestHeaders.h"

namespace sandbox::wire {

namespace {

// Procedures that clients call by number.
constexpr std::array<std::u16string_view, 16> kNumbered = {
    u"",
    u"sp_cursor",
    u"sp_cursoropen",
    u"sp_cursorprepare",
    u"sp_cursorexecute",
    u"sp_cursorprepexec",
    u"sp_cursorunprepare",
    u"sp_cursorfetch",
    u"sp_cursoroption",
    u"sp_cursorclose",
    u"sp_executesql",
    u"sp_prepare",
    u"sp_execute",
    u"sp_prepexec",
    u"sp_prepexecrpc",
    u"sp_unprepare",
};

std::u16string ReadName(ByteReader& reader) {
    constexpr std::uint16_t kByNumber = 0xFFFF;
    const std::uint16_t length = reader.Get16();
    if (length != kByNumber) return reader.Text(length);
    const std::uint16_t number = reader.Get16();
    if (number == 0 || number >= kNumbered.size()) throw ProtocolError("an unknown procedure");
    return std::u16string(kNumbered[number]);
}

bool IsSeparator(std::uint8_t byte, TdsVersion version) {
    constexpr std::uint8_t kOldSeparator = 0x80;
    constexpr std::uint8_t kSeparator = 0xFF;
    constexpr std::uint8_t kNoExecute = 0xFE;
    if (version < TdsVersion::V72) return byte == kOldSeparator;
    return byte == kSeparator || byte == kNoExecute;
}

// Reads the parameters of one call, and the separator behind them if another call follows.
std::vector<RpcParameter> ReadParameters(ByteReader& reader, TdsVersion version) {
    constexpr std::uint8_t kByReference = 0x01;
    constexpr std::uint8_t kDefault = 0x02;
    std::vector<RpcParameter> parameters;
    while (!reader.AtEnd()) {
        const std::uint8_t length = reader.Get8();
        // A name has 128 characters at most, so that a separator cannot be its length.
        if (IsSeparator(length, version)) break;
        RpcParameter parameter;
        parameter.name = reader.Text(length);
        const std::uint8_t flags = reader.Get8();
        parameter.output = (flags & kByReference) != 0;
        parameter.useDefault = (flags & kDefault) != 0;
        ReadValue(reader, parameter);
        parameters.push_back(std::move(parameter));
    }
    return parameters;
}

bool IsSpace(char16_t unit) {
    return unit <= u' ';
}

std::u16string_view Trim(std::u16string_view text) {
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

bool EqualAscii(std::u16string_view text, std::u16string_view upper) {
    return std::ranges::equal(text, upper, [](char16_t a, char16_t b) {
        return (a >= u'a' && a <= u'z' ? a - u'a' + u'A' : a) == b;
    });
}

// A declaration without its direction.
std::u16string_view WithoutDirection(std::u16string_view declaration) {
    declaration = Trim(declaration);
    const std::size_t space = declaration.find_last_of(u" \t\r\n)");
    const std::u16string_view last =
        space == std::u16string_view::npos ? declaration : declaration.substr(space + 1);
    if (EqualAscii(last, u"OUTPUT") || EqualAscii(last, u"OUT")) {
        return Trim(declaration.substr(0, declaration.size() - last.size()));
    }
    return declaration;
}

// What a variable is declared as: text, ntext and image cannot be the types of variables.
std::u16string Declaration(std::u16string_view declaration) {
    declaration = WithoutDirection(declaration);
    const std::size_t space = declaration.find_last_of(u" \t\r\n");
    if (space == std::u16string_view::npos) return std::u16string(declaration);
    const std::u16string_view type = declaration.substr(space + 1);
    const std::u16string before(declaration.substr(0, space + 1));
    if (EqualAscii(type, u"TEXT")) return before + u"VARCHAR(MAX)";
    if (EqualAscii(type, u"NTEXT")) return before + u"NVARCHAR(MAX)";
    if (EqualAscii(type, u"IMAGE")) return before + u"VARBINARY(MAX)";
    return std::u16string(declaration);
}

// Splits at the commas that do not stand in parentheses.
std::vector<std::u16string> Split(std::u16string_view declarations) {
    std::vector<std::u16string> parts;
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t n = 0; n < declarations.size(); ++n) {
        if (declarations[n] == u'(') ++depth;
        if (declarations[n] == u')') --depth;
        if (declarations[n] == u',' && depth == 0) {
            parts.push_back(Declaration(declarations.substr(start, n - start)));
            start = n + 1;
        }
    }
    parts.push_back(Declaration(declarations.substr(start)));
    return parts;
}

std::u16string_view NameOf(std::u16string_view declaration) {
    return declaration.substr(0,
                              std::min(declaration.find_first_of(u" \t\r\n"), declaration.size()));
}

}  // namespace

std::vector<RpcCall> ParseRpc(Bytes payload, TdsVersion version) {
    ByteReader reader(payload);
    SkipHeaders(reader, version);
    std::vector<RpcCall> calls;
    while (!reader.AtEnd()) {
        RpcCall call;
        call.procedure = ReadName(reader);
        reader.Get16();  // options: recompile, no metadata
        call.parameters = ReadParameters(reader, version);
        calls.push_back(std::move(call));
    }
    if (calls.empty()) throw ProtocolError("a procedure call without a procedure");
    return calls;
}

std::u16string ExecuteText(const RpcCall& call) {
    std::u16string text = u"EXEC " + call.procedure;
    std::u16string_view separator = u" ";
    for (const RpcParameter& parameter : call.parameters) {
        text += separator;
        separator = u", ";
        if (!parameter.name.empty()) text += parameter.name + u"=";
        text += parameter.useDefault ? u"DEFAULT" : parameter.literal;
    }
    return text;
}

std::u16string ParameterizedStatement::Batch(const std::vector<RpcParameter>& values) const {
    if (Trim(declarations).empty()) return statement;
    std::u16string declare = u"DECLARE ";
    std::u16string set;
    std::u16string_view separator;
    const std::vector<std::u16string> parts = Split(declarations);
    for (std::size_t n = 0; n < parts.size(); ++n) {
        declare += separator;
        declare += parts[n];
        separator = u", ";
        if (n >= values.size()) continue;
        const std::u16string_view name =
            values[n].name.empty() ? NameOf(parts[n]) : std::u16string_view(values[n].name);
        set.append(u" SET ").append(name).append(u"=").append(values[n].literal);
    }
    return declare + set + u" " + statement;
}

std::int32_t PreparedStatements::Add(ParameterizedStatement statement) {
    statements_.emplace(++last_, std::move(statement));
    return last_;
}

const ParameterizedStatement* PreparedStatements::Find(std::int32_t handle) const {
    const auto found = statements_.find(handle);
    return found == statements_.end() ? nullptr : &found->second;
}

bool PreparedStatements::Remove(std::int32_t handle) {
    return statements_.erase(handle) != 0;
}

}  // namespace sandbox::wire
