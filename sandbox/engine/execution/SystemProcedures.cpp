// The system procedures that set-up scripts and comparisons call.
#include <unordered_map>

#include "sandbox/engine/catalog/CatalogWriter.h"
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

using Arguments = std::vector<std::optional<std::u16string>>;

std::u16string Text(const Arguments& args, std::size_t i) {
    return i < args.size() && args[i] ? *args[i] : u"";
}

void RequireNoTransaction(const Context& context, std::u16string_view name) {
    if (context.transactionDepth == 0) return;
    throw SqlError(15002,
                   Format(u"The procedure '%1' cannot be executed within a transaction.", {name}));
}

[[noreturn]] void NoSuchServer(std::u16string_view name) {
    throw SqlError(
        15015,
        Format(u"The server '%1' does not exist. Use sp_helpserver to show available servers.",
               {name}));
}

void AddLinkedServer(Context& context, const Arguments& args) {
    RequireNoTransaction(context, u"sys.sp_addlinkedserver");
    LinkedServer link;
    link.name = Text(args, 0);
    link.product = Text(args, 1);
    link.provider = Text(args, 2);
    link.dataSource = Text(args, 3);
    link.catalog = Text(args, 6);
    if (link.name.empty()) {
        throw SqlError(15429, u"'(null)' is an invalid product name.");
    }
    if (SameName(link.product, u"SQL Server") || (link.product.empty() && link.provider.empty())) {
        if (!link.provider.empty() && SameName(link.product, u"SQL Server")) {
            throw SqlError(
                15428,
                u"You cannot specify a provider or any properties for product 'SQL Server'.");
        }
        link.product = u"SQL Server";
        link.provider = u"SQLOLEDB";
        link.dataSource = link.name;
    }
    if (SameName(link.name, context.server.settings.name)) {
        throw SqlError(15028, Format(u"The server '%1' already exists.", {link.name}));
    }
    context.server.AddLink(std::move(link));
}

void ServerOption(Context& context, const Arguments& args) {
    const std::u16string option = Text(args, 1);
    const std::u16string value = Text(args, 2);
    const bool on = SameName(value, u"true") || SameName(value, u"on");
    if (!on && !SameName(value, u"false") && !SameName(value, u"off") &&
        !SameName(option, u"connect timeout") && !SameName(option, u"query timeout") &&
        !SameName(option, u"collation name")) {
        throw SqlError(
            15600,
            u"An invalid parameter or option was specified for procedure 'sys.sp_serveroption'.");
    }
    static constexpr std::u16string_view kOptions[] = {u"data access",
                                                       u"rpc",
                                                       u"rpc out",
                                                       u"collation compatible",
                                                       u"use remote collation",
                                                       u"lazy schema validation",
                                                       u"connect timeout",
                                                       u"query timeout",
                                                       u"collation name",
                                                       u"dist",
                                                       u"pub",
                                                       u"sub"};
    bool known = false;
    for (const std::u16string_view o : kOptions)
        known = known || SameName(o, option);
    if (!known) {
        throw SqlError(
            15600,
            u"An invalid parameter or option was specified for procedure 'sys.sp_serveroption'.");
    }
    const bool found = context.server.ChangeLink(Text(args, 0), [&](LinkedServer& l) {
        if (SameName(option, u"data access")) l.dataAccess = on;
    });
    if (!found) NoSuchServer(Text(args, 0));
}

void AddLinkedLogin(Context& context, const Arguments& args) {
    RequireNoTransaction(context, u"sys.sp_addlinkedsrvlogin");
    const std::u16string self = Text(args, 1);
    const bool useSelf = self.empty() || SameName(self, u"true");
    if (!useSelf && !SameName(self, u"false")) {
        throw SqlError(15600,
                       u"An invalid parameter or option was specified for procedure "
                       u"'sys.sp_addlinkedsrvlogin'.");
    }
    const bool found = context.server.ChangeLink(Text(args, 0), [&](LinkedServer& l) {
        l.selfMapping = useSelf;
        l.remoteLogin = !useSelf;
        l.remoteUser = useSelf ? u"" : Text(args, 3);
        l.remotePassword = useSelf ? u"" : Text(args, 4);
    });
    if (!found) NoSuchServer(Text(args, 0));
}

void DropLinkedLogin(Context& context, const Arguments& args) {
    const bool found = context.server.ChangeLink(Text(args, 0), [](LinkedServer& l) {
        l.remoteLogin = false;
        l.selfMapping = false;
    });
    if (!found) NoSuchServer(Text(args, 0));
}

void DropServer(Context& context, const Arguments& args) {
    RequireNoTransaction(context, u"sys.sp_dropserver");
    const std::u16string option = Text(args, 1);
    if (!option.empty() && !SameName(option, u"droplogins")) {
        throw SqlError(
            15600,
            u"An invalid parameter or option was specified for procedure 'sys.sp_dropserver'.");
    }
    const auto link = context.server.FindLink(Text(args, 0));
    if (!link) NoSuchServer(Text(args, 0));
    if (option.empty() && link->remoteLogin) {
        throw SqlError(
            15190, Format(u"There are still remote logins or linked logins for the server '%1'.",
                          {link->name}));
    }
    context.server.DropLink(link->name);
}

void CompatibilityLevel(Context& context, const Arguments& args) {
    const DatabasePtr database = context.server.Find(Text(args, 0));
    if (!database) {
        throw SqlError(
            15010, Format(u"The database '%1' does not exist. Supply a valid database name. To see "
                          u"available databases, use sys.databases.",
                          {Text(args, 0)}));
    }
    if (args.size() < 2 || !args[1]) return;
    int level = 0;
    for (const char16_t c : *args[1])
        level = c >= u'0' && c <= u'9' && level < 1000 ? level * 10 + (c - u'0') : 0;
    static constexpr int kLevels[] = {60, 65, 70, 80, 90, 100, 110, 120, 130, 140, 150, 160};
    bool known = false;
    for (const int l : kLevels)
        known = known || (l == level && l <= context.server.major * 10);
    if (!known) {
        throw SqlError(
            15416,
            u"Usage: sp_dbcmptlevel [dbname [, compatibilitylevel]]. Valid values of the database "
            u"compatibility level are 80, 90, or 100.");
    }
    database->compatibility = level;
}

void AddLogin(Context& context, const Arguments& args) {
    context.server.AddLogin(Text(args, 0), Text(args, 1));
}

void AddUser(Context& context, const Arguments& args) {
    const std::u16string login = Text(args, 0);
    const std::u16string name = Text(args, 1).empty() ? login : Text(args, 1);
    if (!context.server.HasLogin(login)) {
        throw SqlError(
            15007, Format(u"'%1' is not a valid login or you do not have permission.", {login}));
    }
    Catalog& catalog = context.Current();
    if (catalog.SchemaId(name)) {
        throw SqlError(
            15023, Format(u"User or role '%1' already exists in the current database.", {name}));
    }
    CatalogWriter(context, catalog).AddUser(name, login);
}

void Nothing(Context&, const Arguments&) {
}

struct Entry {
    void (*run)(Context&, const Arguments&);
    std::vector<std::u16string_view> parameters;
};

const std::unordered_map<std::u16string, Entry>& Table() {
    static const std::unordered_map<std::u16string, Entry> kTable = {
        {u"SP_ADDLINKEDSERVER",
         {AddLinkedServer,
          {u"@server", u"@srvproduct", u"@provider", u"@datasrc", u"@location", u"@provstr",
           u"@catalog"}}},
        {u"SP_SERVEROPTION", {ServerOption, {u"@server", u"@optname", u"@optvalue"}}},
        {u"SP_ADDLINKEDSRVLOGIN",
         {AddLinkedLogin,
          {u"@rmtsrvname", u"@useself", u"@locallogin", u"@rmtuser", u"@rmtpassword"}}},
        {u"SP_DROPLINKEDSRVLOGIN", {DropLinkedLogin, {u"@rmtsrvname", u"@locallogin"}}},
        {u"SP_DROPSERVER", {DropServer, {u"@server", u"@droplogins"}}},
        {u"SP_DBCMPTLEVEL", {CompatibilityLevel, {u"@dbname", u"@new_cmptlevel"}}},
        {u"SP_ADDLOGIN", {AddLogin, {u"@loginame", u"@passwd", u"@defdb"}}},
        {u"SP_ADDUSER", {AddUser, {u"@loginame", u"@name_in_db", u"@grpname"}}},
        {u"SP_GRANTDBACCESS", {AddUser, {u"@loginame", u"@name_in_db"}}},
        {u"SP_UPDATESTATS", {Nothing, {}}},
        {u"SP_RESET_CONNECTION", {Nothing, {}}},
    };
    return kTable;
}

}  // namespace

// Runs a system procedure; false when there is none of this name.
bool Executor::SystemProcedure(const std::u16string& name, const ExecStmt& stmt) {
    if (name == u"SP_EXECUTESQL") {
        ExecuteSql(stmt);
        return true;
    }
    const auto found = Table().find(name);
    if (found == Table().end()) return false;
    const Entry& entry = found->second;
    Arguments args(entry.parameters.size());
    for (std::size_t i = 0; i < stmt.arguments.size(); ++i) {
        const ExecArgument& a = stmt.arguments[i];
        std::size_t at = i;
        if (!a.name.empty()) {
            for (at = 0; at < entry.parameters.size(); ++at) {
                if (SameName(entry.parameters[at], a.name)) break;
            }
            if (at == entry.parameters.size()) {
                throw SqlError(8145, Format(u"%1 is not a parameter for procedure %2.",
                                            {a.name, stmt.procedure.name}));
            }
        }
        if (at >= args.size()) {
            throw SqlError(8144,
                           Format(u"Procedure or function %1 has too many arguments specified.",
                                  {stmt.procedure.name}),
                           16, 2);
        }
        if (a.kind == ExecArgument::Kind::Default) continue;
        const TypedValue v = ArgumentValue(a);
        if (v.typed && !v.value.IsNull()) args[at] = DisplayText(v.value, v.type);
    }
    if (!entry.parameters.empty() && !args[0]) {
        throw SqlError(
            201,
            Format(u"Procedure or function '%1' expects parameter '%2', which was not supplied.",
                   {stmt.procedure.name, entry.parameters[0]}),
            16, 4);
    }
    if (entry.run != Nothing) RequireAdministrator(context_);
    entry.run(context_, args);
    if (!stmt.returnVariable.empty()) {
        Assign(FoldName(stmt.returnVariable), {Value::Int(0), Plain(TypeId::Int), true});
    }
    if (nesting_ == 0) sink_.StatementDone(std::nullopt, false, false);
    return true;
}

}  // namespace sandbox::engine
