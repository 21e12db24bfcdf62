// GRANT, DENY, REVOKE, CREATE LOGIN, CREATE USER.
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {

// GRANT SELECT, INSERT ON dbo.t TO reader; ... ON SCHEMA::dbo ...; without ON: in the database.
StmtPtr Parser::PermissionStatement() {
    const Token word = Take();
    auto s = std::make_unique<PermissionStmt>(word.line);
    s->verb = SameName(word.text, u"GRANT")  ? PermissionStmt::Verb::Grant
              : SameName(word.text, u"DENY") ? PermissionStmt::Verb::Deny
                                             : PermissionStmt::Verb::Revoke;
    do {
        const Token& action = Peek();
        std::u16string name = FoldName(action.text);
        if (name == u"EXEC") name = u"EXECUTE";
        const bool known = name == u"SELECT" || name == u"INSERT" || name == u"UPDATE" ||
                           name == u"DELETE" || name == u"EXECUTE" || name == u"ALTER";
        if (action.kind != TokenKind::Word || !known) Unexpected();
        Take();
        s->actions.push_back(std::move(name));
    } while (TakeSymbol(u","));
    if (TakeWord(u"ON")) {
        const bool typed = IsSymbol(u"::", 1);
        const bool schema = typed && IsWord(u"SCHEMA");
        if (typed && !schema && !IsWord(u"OBJECT")) Unexpected();
        s->on = schema ? PermissionStmt::On::Schema : PermissionStmt::On::Object;
        if (typed) {
            Take();
            Take();
        }
        s->object = TakeObjectName();
    }
    if (!TakeWord(u"FROM")) ExpectWord(u"TO");
    do {
        s->users.push_back(TakeName());
    } while (TakeSymbol(u","));
    return s;
}

// CREATE LOGIN reader WITH PASSWORD = 'secret', CHECK_POLICY = OFF
StmtPtr Parser::CreateLogin(int line) {
    auto s = std::make_unique<LoginStmt>(StmtKind::CreateLogin, line);
    s->name = TakeName();
    ExpectWord(u"WITH");
    ExpectWord(u"PASSWORD");
    ExpectSymbol(u"=");
    const ExprPtr password = LiteralToken();
    s->password = password->value.text;
    while (TakeSymbol(u",")) {
        TakeName();
        ExpectSymbol(u"=");
        Take();
    }
    return s;
}

// CREATE USER reader [FOR LOGIN reader | WITHOUT LOGIN]
StmtPtr Parser::CreateUser(int line) {
    auto s = std::make_unique<LoginStmt>(StmtKind::CreateUser, line);
    s->name = TakeName();
    if (TakeWord(u"WITHOUT")) {
        ExpectWord(u"LOGIN");
    } else if (TakeWord(u"FOR") || TakeWord(u"FROM")) {
        ExpectWord(u"LOGIN");
        s->login = TakeName();
    } else {
        s->login = s->name;
    }
    return s;
}

}  // namespace sandbox::engine
