// EXECUTE: procedures with their arguments, and texts.
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Decimal.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

StmtPtr Parser::ExecStatement() {
    const int line = Take().line;
    return ExecTail(line);
}

std::unique_ptr<ExecStmt> Parser::ExecTail(int line) {
    auto s = std::make_unique<ExecStmt>(line);
    if (TakeSymbol(u"(")) {
        s->dynamic = Expression();
        ExpectSymbol(u")");
        return s;
    }
    if (Peek().kind == TokenKind::Variable) {
        std::u16string variable(Take().text);
        if (TakeSymbol(u"=")) {
            s->returnVariable = std::move(variable);
        } else {
            s->procedureVariable = std::move(variable);
        }
    }
    if (s->procedureVariable.empty()) {
        if (Peek().kind == TokenKind::Variable) {
            s->procedureVariable = Take().text;
        } else {
            s->procedure = TakeObjectName();
        }
    }
    const TokenKind kind = Peek().kind;
    const bool none = kind == TokenKind::End || kind == TokenKind::Word || IsSymbol(u";");
    const bool wordArgument = kind == TokenKind::Word && (IsWord(u"NULL") || IsWord(u"DEFAULT") ||
                                                          (!IsReserved(Peek().text) && AtName()));
    if (none && !wordArgument) return s;
    do {
        s->arguments.push_back(Argument());
    } while (TakeSymbol(u","));
    if (TakeWord(u"WITH")) ExpectWord(u"RECOMPILE");
    return s;
}

bool Parser::LiteralArgument(ExecArgument& a) {
    const Token& token = Peek();
    switch (token.kind) {
        case TokenKind::String:
        case TokenKind::NString:
        case TokenKind::Binary:
        case TokenKind::Integer:
        case TokenKind::Decimal:
        case TokenKind::Float:
        case TokenKind::Money:
            ReadLiteral(Take(), a.value, a.type);
            a.typed = true;
            return true;
        default:
            return false;
    }
}

ExecArgument Parser::Argument() {
    ExecArgument a;
    if (Peek().kind == TokenKind::Variable && IsSymbol(u"=", 1)) {
        a.name = Take().text;
        Take();
    }
    if (LiteralArgument(a)) return a;
    if (IsSymbol(u"-") || IsSymbol(u"+")) {
        const bool negative = Take().text == u"-";
        if (!LiteralArgument(a) || !IsNumber(a.type.id)) Unexpected();
        if (!negative) return a;
        if (a.value.kind == Value::Kind::Real) {
            a.value.d = -a.value.d;
        } else if (IsDecimal(a.type.id)) {
            a.value = DecimalToValue(-DecimalFromValue(a.value), a.type);
        } else {
            a.value.i = -a.value.i;
        }
        return a;
    }
    if (Peek().kind == TokenKind::Variable) {
        a.kind = ExecArgument::Kind::Variable;
        a.variable = Take().text;
        if (IsWord(u"OUTPUT") || IsWord(u"OUT")) {
            Take();
            a.output = true;
        }
        return a;
    }
    if (TakeWord(u"NULL")) return a;
    if (TakeWord(u"DEFAULT")) {
        a.kind = ExecArgument::Kind::Default;
        return a;
    }
    // A bare word is a string.
    const std::u16string text = TakeName();
    a.type = NVarCharType(static_cast<int>(text.size()));
    a.value = Value::Text(text);
    a.typed = true;
    return a;
}

}  // namespace sandbox::engine
