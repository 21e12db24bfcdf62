// Logins, users, and what they are granted.
#include "sandbox/engine/catalog/CatalogWriter.h"
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

struct Securable {
    int kind = 0;  // as m_permission.class
    int id = 0;
};

[[noreturn]] void NoSuch(std::u16string_view what, std::u16string_view name) {
    throw SqlError(15151,
                   Format(u"Cannot find the %1 '%2', because it does not exist or you do not have "
                          u"permission.",
                          {what, name}));
}

Securable Find(Context& context, const PermissionStmt& stmt) {
    if (stmt.on == PermissionStmt::On::Database) return {};
    if (stmt.on == PermissionStmt::On::Schema) {
        const auto id = context.Current().SchemaId(stmt.object.name);
        if (!id) NoSuch(u"schema", stmt.object.name);
        return {3, *id};
    }
    const Resolved r = context.Resolve(stmt.object);
    if (!r.object || r.catalog != &context.Current()) NoSuch(u"object", stmt.object.name);
    return {1, r.object->id};
}

bool IsUser(Context& context, std::u16string_view name) {
    if (SameName(name, u"public")) return true;
    Statement& s =
        context.store.Cached("SELECT 1 FROM " + context.Current().Prefix() + "m_user WHERE name=?");
    s.Bind(1, Value::Text(std::u16string(name)));
    const bool found = s.Step();
    s.Reset();
    return found;
}

}  // namespace

// Grants and denials of the same thing replace one another.
void Executor::Permit(const PermissionStmt& stmt) {
    if (!context_.administrator) NoSuch(u"object", stmt.object.name);
    const Securable on = Find(context_, stmt);
    Catalog& catalog = context_.Current();
    for (const std::u16string& user : stmt.users) {
        if (!IsUser(context_, user)) NoSuch(u"user", user);
    }
    Atomically([&] {
        for (const std::u16string& user : stmt.users) {
            for (const std::u16string& action : stmt.actions) {
                context_.store
                    .Cached("DELETE FROM " + catalog.Prefix() +
                            "m_permission WHERE grantee=? AND class=? AND id=? AND action=?")
                    .BindAll(user, on.kind, on.id, action)
                    .Run();
                if (stmt.verb == PermissionStmt::Verb::Revoke) continue;
                context_.store
                    .Cached("INSERT INTO " + catalog.Prefix() + "m_permission VALUES(?,?,?,?,?)")
                    .BindAll(user, on.kind, on.id, action,
                             stmt.verb == PermissionStmt::Verb::Deny ? 1 : 0)
                    .Run();
            }
        }
        catalog.Changed();
        context_.BumpGeneration();
    });
    Done();
}

void Executor::CreateLogin(const LoginStmt& stmt) {
    if (context_.server.major < 9) ThrowSyntax(u"LOGIN");
    RequireAdministrator(context_);
    context_.server.AddLogin(stmt.name, stmt.password);
    Done();
}

// A user of a login. Users without one exist for the schema of their name only.
void Executor::CreateUser(const LoginStmt& stmt) {
    RequireAdministrator(context_);
    if (!stmt.login.empty() && !context_.server.HasLogin(stmt.login)) {
        throw SqlError(15007, Format(u"'%1' is not a valid login or you do not have permission.",
                                     {stmt.login}));
    }
    Catalog& catalog = context_.Current();
    if (catalog.SchemaId(stmt.name)) {
        throw SqlError(15023,
                       Format(u"User, group, or role '%1' already exists in the current database.",
                              {stmt.name}),
                       16, 6);
    }
    Atomically([&] { CatalogWriter(context_, catalog).AddUser(stmt.name, stmt.login); });
    Done();
}

// Definitions that only an administrator may run; what ALTER on a table allows is asked about where
// the table is known.
void Executor::RequireRight(const Stmt& stmt) {
    if (context_.administrator) return;
    const auto denied = [](std::u16string_view what, std::u16string_view database) {
        throw SqlError(262, Format(u"%1 permission denied in database '%2'.", {what, database}),
                       14);
    };
    const std::u16string here = context_.current->name;
    switch (stmt.kind) {
        case StmtKind::CreateDatabase:
            return denied(u"CREATE DATABASE", u"master");
        case StmtKind::CreateTable:
            if (IsTemporaryName(static_cast<const CreateTableStmt&>(stmt).table.name)) return;
            return denied(u"CREATE TABLE", here);
        case StmtKind::CreateView:
            return denied(u"CREATE VIEW", here);
        case StmtKind::CreateProcedure:
            return denied(u"CREATE PROCEDURE", here);
        case StmtKind::CreateSchema:
            return denied(u"CREATE SCHEMA", here);
        default:
            return;
    }
}

}  // namespace sandbox::engine
