// T-SQL tokens, made on demand from a batch that outlives them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sandbox::engine {

enum class TokenKind {
    End,
    Word,      // a bare word: keyword or name
    Name,      // [quoted] or "quoted"
    Variable,  // @x, @@x
    String,    // '...'
    NString,   // N'...'
    Integer,   // 12
    Decimal,   // 1.5
    Float,     // 1.5E0
    Money,     // $1.5
    Binary,    // 0x1F
    Symbol,    // operators and punctuation, one or two characters
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::u16string_view text;  // as written; names and strings still quoted
    std::size_t start = 0;
    int line = 1;
    bool plain = true;  // a quoted token without doubled quotes
};

class Lexer {
  public:
    explicit Lexer(std::u16string_view text) : text_(text) {}

    Token Next();
    bool quotedIdentifier = true;  // "x" is a name, else a string

  private:
    void SkipBlanks();
    Token Make(TokenKind kind, std::size_t start);
    Token Quoted(TokenKind kind, std::size_t start, std::size_t open, char16_t close);
    Token Number();

    std::u16string_view text_;
    std::size_t at_ = 0;
    int line_ = 1;
};

// The content of a quoted token: quotes off, doubled quotes single.
std::u16string Unquote(const Token& token);

bool IsNameStart(char16_t c);
bool IsNamePart(char16_t c);

}  // namespace sandbox::engine
