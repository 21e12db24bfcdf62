#include "sandbox/engine/syntax/Lexer.h"

#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {
namespace {

bool IsDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

bool IsHex(char16_t c) {
    return IsDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

bool IsBlank(char16_t c) {
    return c <= u' ' || c == 0xA0 || c == 0xFEFF;
}

}  // namespace

bool IsNameStart(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c == u'#' ||
           (c > 0xA0 && c != 0xFEFF);
}

bool IsNamePart(char16_t c) {
    return IsNameStart(c) || IsDigit(c) || c == u'@' || c == u'$';
}

void Lexer::SkipBlanks() {
    while (at_ < text_.size()) {
        const char16_t c = text_[at_];
        if (c == u'\n') {
            ++line_;
            ++at_;
        } else if (IsBlank(c)) {
            ++at_;
        } else if (c == u'-' && at_ + 1 < text_.size() && text_[at_ + 1] == u'-') {
            while (at_ < text_.size() && text_[at_] != u'\n')
                ++at_;
        } else if (c == u'/' && at_ + 1 < text_.size() && text_[at_ + 1] == u'*') {
            int depth = 0;  // comments nest
            do {
                if (at_ + 1 >= text_.size()) {
                    throw SqlError(113, u"Missing end comment mark '*/'.", 15);
                }
                if (text_[at_] == u'/' && text_[at_ + 1] == u'*') {
                    ++depth;
                    at_ += 2;
                } else if (text_[at_] == u'*' && text_[at_ + 1] == u'/') {
                    --depth;
                    at_ += 2;
                } else {
                    if (text_[at_] == u'\n') ++line_;
                    ++at_;
                }
            } while (depth > 0);
        } else {
            return;
        }
    }
}

Token Lexer::Make(TokenKind kind, std::size_t start) {
    return {kind, text_.substr(start, at_ - start), start, line_, true};
}

Token Lexer::Quoted(TokenKind kind, std::size_t start, std::size_t open, char16_t close) {
    const int line = line_;
    bool plain = true;
    at_ = open + 1;
    for (;;) {
        const std::size_t found = text_.find(close, at_);
        if (found == std::u16string_view::npos) {
            const std::u16string rest(text_.substr(open + 1));
            throw SqlError(
                105, Format(u"Unclosed quotation mark after the character string '%1'.", {rest}),
                15);
        }
        at_ = found + 1;
        if (at_ >= text_.size() || text_[at_] != close) break;
        plain = false;
        ++at_;
    }
    for (std::size_t i = open; i < at_; ++i) {
        if (text_[i] == u'\n') ++line_;
    }
    Token token = Make(kind, start);
    token.line = line;
    token.plain = plain;
    return token;
}

Token Lexer::Number() {
    const std::size_t start = at_;
    TokenKind kind = TokenKind::Integer;
    while (at_ < text_.size() && IsDigit(text_[at_]))
        ++at_;
    if (at_ < text_.size() && text_[at_] == u'.') {
        kind = TokenKind::Decimal;
        ++at_;
        while (at_ < text_.size() && IsDigit(text_[at_]))
            ++at_;
    }
    if (at_ < text_.size() && (text_[at_] == u'e' || text_[at_] == u'E')) {
        kind = TokenKind::Float;
        ++at_;
        if (at_ < text_.size() && (text_[at_] == u'+' || text_[at_] == u'-')) ++at_;
        while (at_ < text_.size() && IsDigit(text_[at_]))
            ++at_;
    }
    return Make(kind, start);
}

Token Lexer::Next() {
    SkipBlanks();
    const std::size_t start = at_;
    if (at_ >= text_.size()) return Make(TokenKind::End, start);
    const char16_t c = text_[at_];
    const char16_t next = at_ + 1 < text_.size() ? text_[at_ + 1] : u'\0';
    if (c == u'\'') return Quoted(TokenKind::String, start, start, u'\'');
    if ((c == u'N' || c == u'n') && next == u'\'') {
        return Quoted(TokenKind::NString, start, start + 1, u'\'');
    }
    if (c == u'[') return Quoted(TokenKind::Name, start, start, u']');
    if (c == u'"') {
        return Quoted(quotedIdentifier ? TokenKind::Name : TokenKind::String, start, start, u'"');
    }
    if (c == u'@') {
        while (at_ < text_.size() && IsNamePart(text_[at_]))
            ++at_;
        return Make(TokenKind::Variable, start);
    }
    if (c == u'0' && (next == u'x' || next == u'X')) {
        at_ += 2;
        while (at_ < text_.size() && IsHex(text_[at_]))
            ++at_;
        return Make(TokenKind::Binary, start);
    }
    if (IsDigit(c) || (c == u'.' && IsDigit(next))) return Number();
    if (c == u'$' && (IsDigit(next) || next == u'.' || next == u'-')) {
        ++at_;
        if (next == u'-') ++at_;
        Number();
        return Make(TokenKind::Money, start);
    }
    if (IsNameStart(c)) {
        while (at_ < text_.size() && IsNamePart(text_[at_]))
            ++at_;
        return Make(TokenKind::Word, start);
    }
    ++at_;
    const bool pair =
        (c == u'<' && (next == u'=' || next == u'>')) || (c == u'>' && next == u'=') ||
        (c == u'!' && (next == u'=' || next == u'<' || next == u'>')) ||
        (c == u'+' && next == u'=') || (c == u'-' && next == u'=') || (c == u'*' && next == u'=') ||
        (c == u'/' && next == u'=') || (c == u':' && next == u':');
    if (pair) ++at_;
    return Make(TokenKind::Symbol, start);
}

std::u16string Unquote(const Token& token) {
    std::u16string_view body = token.text;
    if (token.kind == TokenKind::NString) body.remove_prefix(1);
    const char16_t quote = body.back();
    body = body.substr(1, body.size() - 2);
    if (token.plain) return std::u16string(body);
    std::u16string out;
    out.reserve(body.size());
    for (std::size_t i = 0; i < body.size(); ++i) {
        out += body[i];
        if (body[i] == quote) ++i;
    }
    return out;
}

}  // namespace sandbox::engine
