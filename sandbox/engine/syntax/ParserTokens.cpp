#include <algorithm>
#include <cstdlib>
#include <unordered_set>

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Decimal.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

const std::unordered_set<std::u16string>& ReservedWords() {
    static const std::unordered_set<std::u16string> kWords = {
        u"ADD",          u"ALL",          u"ALTER",
        u"AND",          u"ANY",          u"AS",
        u"ASC",          u"BACKUP",       u"BEGIN",
        u"BETWEEN",      u"BREAK",        u"BY",
        u"CASCADE",      u"CASE",         u"CHECK",
        u"CHECKPOINT",   u"CLOSE",        u"CLUSTERED",
        u"COALESCE",     u"COLLATE",      u"COLUMN",
        u"COMMIT",       u"COMPUTE",      u"CONSTRAINT",
        u"CONTAINS",     u"CONTINUE",     u"CONVERT",
        u"CREATE",       u"CROSS",        u"CURRENT",
        u"CURRENT_DATE", u"CURRENT_TIME", u"CURRENT_TIMESTAMP",
        u"CURRENT_USER", u"CURSOR",       u"DATABASE",
        u"DBCC",         u"DEALLOCATE",   u"DECLARE",
        u"DEFAULT",      u"DELETE",       u"DENY",
        u"DESC",         u"DISTINCT",     u"DISTRIBUTED",
        u"DOUBLE",       u"DROP",         u"ELSE",
        u"END",          u"ERRLVL",       u"ESCAPE",
        u"EXCEPT",       u"EXEC",         u"EXECUTE",
        u"EXISTS",       u"EXIT",         u"FETCH",
        u"FILE",         u"FILLFACTOR",   u"FOR",
        u"FOREIGN",      u"FREETEXT",     u"FROM",
        u"FULL",         u"FUNCTION",     u"GOTO",
        u"GRANT",        u"GROUP",        u"HAVING",
        u"HOLDLOCK",     u"IDENTITY",     u"IDENTITY_INSERT",
        u"IDENTITYCOL",  u"IF",           u"IN",
        u"INDEX",        u"INNER",        u"INSERT",
        u"INTERSECT",    u"INTO",         u"IS",
        u"JOIN",         u"KEY",          u"KILL",
        u"LEFT",         u"LIKE",         u"LINENO",
        u"NATIONAL",     u"NOCHECK",      u"NONCLUSTERED",
        u"NOT",          u"NULL",         u"NULLIF",
        u"OF",           u"OFF",          u"OFFSETS",
        u"ON",           u"OPEN",         u"OPTION",
        u"OR",           u"ORDER",        u"OUTER",
        u"OVER",         u"PERCENT",      u"PLAN",
        u"PRIMARY",      u"PRINT",        u"PROC",
        u"PROCEDURE",    u"PUBLIC",       u"RAISERROR",
        u"READ",         u"RECONFIGURE",  u"REFERENCES",
        u"RESTORE",      u"RESTRICT",     u"RETURN",
        u"REVOKE",       u"RIGHT",        u"ROLLBACK",
        u"ROWCOUNT",     u"ROWGUIDCOL",   u"RULE",
        u"SAVE",         u"SCHEMA",       u"SELECT",
        u"SESSION_USER", u"SET",          u"SHUTDOWN",
        u"SOME",         u"STATISTICS",   u"SYSTEM_USER",
        u"TABLE",        u"TEXTSIZE",     u"THEN",
        u"TO",           u"TOP",          u"TRAN",
        u"TRANSACTION",  u"TRIGGER",      u"TRUNCATE",
        u"UNION",        u"UNIQUE",       u"UPDATE",
        u"USE",          u"USER",         u"VALUES",
        u"VARYING",      u"VIEW",         u"WAITFOR",
        u"WHEN",         u"WHERE",        u"WHILE",
        u"WITH",
    };
    return kWords;
}

// ASCII only: keywords hold nothing else.
bool SameWord(std::u16string_view text, std::u16string_view upper) {
    if (text.size() != upper.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if ((c >= u'a' && c <= u'z' ? c - 32 : c) != upper[i]) return false;
    }
    return true;
}

Value BinaryLiteral(std::u16string_view digits) {
    std::string bytes;
    const auto hex = [](char16_t c) { return c <= u'9' ? c - u'0' : (c | 0x20) - u'a' + 10; };
    std::size_t i = 0;
    if (digits.size() % 2 != 0) bytes += static_cast<char>(hex(digits[i++]));
    for (; i < digits.size(); i += 2) {
        bytes += static_cast<char>(hex(digits[i]) * 16 + hex(digits[i + 1]));
    }
    return Value::Blob(std::move(bytes));
}

}  // namespace

bool IsReserved(std::u16string_view word) {
    if (word.size() > 17) return false;
    std::u16string upper(word);
    for (char16_t& c : upper) {
        if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - 32);
    }
    return ReservedWords().contains(upper);
}

void ReadLiteral(const Token& token, Value& value, SqlType& type) {
    switch (token.kind) {
        case TokenKind::String:
        case TokenKind::NString: {
            std::u16string text = Unquote(token);
            const bool national = token.kind == TokenKind::NString;
            const auto length = static_cast<int>(std::max<std::size_t>(text.size(), 1));
            const int most = national ? 4000 : 8000;
            type = national ? NVarCharType(length > most ? -1 : length)
                            : VarCharType(length > most ? -1 : length);
            value = Value::Text(std::move(text));
            return;
        }
        case TokenKind::Binary: {
            value = BinaryLiteral(token.text.substr(2));
            const auto length = static_cast<int>(std::max<std::size_t>(value.bytes.size(), 1));
            type = SqlType{TypeId::VarBinary, length > 8000 ? -1 : length, 0, 0};
            return;
        }
        case TokenKind::Float: {
            std::string text;
            for (const char16_t c : token.text)
                text += static_cast<char>(c);
            if (text.back() == 'e' || text.back() == 'E' || text.back() == '+' ||
                text.back() == '-') {
                text += '0';
            }
            value = Value::Real(std::strtod(text.c_str(), nullptr));
            type = Plain(TypeId::Float);
            if (value.d > 1.7976931348623157e308) {
                throw SqlError(168,
                               Format(u"The floating point value '%1' is out of the range of "
                                      u"computer representation (8 bytes).",
                                      {token.text}),
                               15);
            }
            return;
        }
        case TokenKind::Money: {
            const auto parsed = ParseDecimal(token.text.substr(1));
            value = Value::Int(parsed ? static_cast<std::int64_t>(
                                            Rescale(parsed->value, parsed->scale, 4).value_or(0))
                                      : 0);
            type = Plain(TypeId::Money);
            return;
        }
        default: {
            if (token.kind == TokenKind::Integer && token.text.size() <= 10) {
                std::int64_t v = 0;
                for (const char16_t c : token.text)
                    v = v * 10 + (c - u'0');
                if (v <= IntegerMax(TypeId::Int)) {
                    value = Value::Int(v);
                    type = Plain(TypeId::Int);
                    return;
                }
            }
            const auto parsed = ParseDecimal(token.text);
            if (!parsed || parsed->overflow) {
                throw SqlError(1007,
                               Format(u"The number '%1' is out of the range for numeric "
                                      u"representation (maximum precision 38).",
                                      {token.text}),
                               15);
            }
            // The digits as written count: 0.00 is numeric(2,2), 10 digits numeric(10,0).
            const int digits = std::max(DigitCount(parsed->value), parsed->scale);
            type = DecimalType(std::max(digits, 1), parsed->scale);
            type.id = TypeId::Numeric;
            value = DecimalToValue(parsed->value, type);
            return;
        }
    }
}

Parser::Parser(std::u16string_view text, bool quotedIdentifier) : text_(text), lexer_(text) {
    lexer_.quotedIdentifier = quotedIdentifier;
}

const Token& Parser::Peek(std::size_t ahead) {
    while (ahead_.size() - head_ <= ahead) {
        if (head_ > 64 && head_ == ahead_.size()) {
            ahead_.clear();
            head_ = 0;
        }
        ahead_.push_back(lexer_.Next());
    }
    return ahead_[head_ + ahead];
}

Token Parser::Take() {
    const Token token = Peek();
    if (token.kind != TokenKind::End) ++head_;
    if (head_ == ahead_.size()) {
        ahead_.clear();
        head_ = 0;
    }
    lastEnd_ = token.start + token.text.size();
    return token;
}

bool Parser::IsWord(std::u16string_view word, std::size_t ahead) {
    const Token& token = Peek(ahead);
    return token.kind == TokenKind::Word && SameWord(token.text, word);
}

bool Parser::IsSymbol(std::u16string_view symbol, std::size_t ahead) {
    const Token& token = Peek(ahead);
    return token.kind == TokenKind::Symbol && token.text == symbol;
}

bool Parser::TakeWord(std::u16string_view word) {
    if (!IsWord(word)) return false;
    Take();
    return true;
}

bool Parser::TakeSymbol(std::u16string_view symbol) {
    if (!IsSymbol(symbol)) return false;
    Take();
    return true;
}

void Parser::ExpectWord(std::u16string_view word) {
    if (!TakeWord(word)) Unexpected();
}

void Parser::ExpectSymbol(std::u16string_view symbol) {
    if (!TakeSymbol(symbol)) Unexpected();
}

bool Parser::AtEnd() {
    return Peek().kind == TokenKind::End;
}

void Parser::Unexpected() {
    const Token token = Peek();
    SqlError error(102, u"", 15);
    if (token.kind == TokenKind::Word && IsReserved(token.text)) {
        error = SqlError(156, Format(u"Incorrect syntax near the keyword '%1'.", {token.text}), 15);
    } else if (token.kind == TokenKind::End) {
        // The server names the last thing that it read.
        std::size_t start = lastEnd_;
        while (start > 0 && IsNamePart(text_[start - 1]))
            --start;
        if (start == lastEnd_ && start > 0) --start;
        const std::u16string_view last = text_.substr(start, lastEnd_ - start);
        error = IsReserved(last)
                    ? SqlError(156, Format(u"Incorrect syntax near the keyword '%1'.", {last}), 15)
                    : SqlError(102, Format(u"Incorrect syntax near '%1'.", {last}), 15);
    } else {
        const bool quoted = token.kind == TokenKind::String || token.kind == TokenKind::NString ||
                            token.kind == TokenKind::Name;
        const std::u16string shown = quoted ? Unquote(token) : std::u16string(token.text);
        error = SqlError(102, Format(u"Incorrect syntax near '%1'.", {shown}), 15);
    }
    error.message.line = token.line;
    throw SqlError(error);
}

bool Parser::AtName(std::size_t ahead) {
    const Token& token = Peek(ahead);
    return token.kind == TokenKind::Name ||
           (token.kind == TokenKind::Word && !IsReserved(token.text));
}

std::u16string Parser::TakeName() {
    if (!AtName()) Unexpected();
    const Token token = Take();
    return token.kind == TokenKind::Name ? Unquote(token) : std::u16string(token.text);
}

std::u16string Parser::TakeNameOrString() {
    if (Peek().kind == TokenKind::String || Peek().kind == TokenKind::NString)
        return Unquote(Take());
    return TakeName();
}

ObjectName Parser::TakeObjectName() {
    std::vector<std::u16string> parts;
    parts.push_back(TakeName());
    while (IsSymbol(u".")) {
        Take();
        if (IsSymbol(u".")) {
            parts.emplace_back();
            continue;
        }
        parts.push_back(TakeName());
    }
    if (parts.size() > 4) {
        throw SqlError(117,
                       u"The object name contains more than the maximum number of prefixes. The "
                       u"maximum is 3.",
                       15);
    }
    ObjectName name;
    std::u16string* const slots[] = {&name.name, &name.schema, &name.database, &name.server};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        *slots[i] = std::move(parts[parts.size() - 1 - i]);
    }
    return name;
}

ObjectName Parser::TakeTableName() {
    const Token& token = Peek();
    if (token.kind != TokenKind::Variable || token.text.starts_with(u"@@")) return TakeObjectName();
    ObjectName name;
    name.name = Take().text;
    name.variable = true;
    return name;
}

std::int64_t Parser::TakeInteger() {
    const bool negative = TakeSymbol(u"-");
    if (Peek().kind != TokenKind::Integer || Peek().text.size() > 18) Unexpected();
    std::int64_t v = 0;
    for (const char16_t c : Take().text)
        v = v * 10 + (c - u'0');
    return negative ? -v : v;
}

std::u16string_view Parser::TextSince(std::size_t start) {
    return text_.substr(start, lastEnd_ - start);
}

std::u16string ObjectName::Text() const {
    std::u16string out;
    if (!server.empty()) out += server + u".";
    if (!database.empty() || !server.empty()) out += database + u".";
    if (!schema.empty() || !out.empty()) out += schema + u".";
    return out + name;
}

}  // namespace sandbox::engine
