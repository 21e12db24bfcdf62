// What a session has switched: SET, USE, DBCC.

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {

void Executor::Use(const SimpleStmt& stmt) {
    const DatabasePtr database = context_.server.Find(stmt.name);
    if (!database) {
        throw SqlError(
            911, context_.server.major >= 9
                     ? Format(u"Database '%1' does not exist. Make sure that the name is entered "
                              u"correctly.",
                              {stmt.name})
                     : Format(u"Could not locate entry in sysdatabases for database '%1'. No entry "
                              u"found with that name. Make sure that the name is entered "
                              u"correctly.",
                              {stmt.name}));
    }
    RequireAccess(context_, context_.Open(database));
    const std::u16string from = context_.current->name;
    context_.Use(database);
    sink_.DatabaseChanged(from, database->name);
    Done();
}

void Executor::SetIdentityInsert(const SetOptionStmt& stmt) {
    const Resolved r = context_.Resolve(stmt.table);
    const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
    if (!table) {
        throw SqlError(
            1088, Format(u"Cannot find the object \"%1\" because it does not exist or you do not "
                         u"have permissions.",
                         {stmt.table.Text()}));
    }
    RequireAlter(context_, r, stmt.table, 11);
    if (table->Identity() == nullptr) {
        throw SqlError(8106,
                       Format(u"Table '%1' does not have the identity property. Cannot perform SET "
                              u"operation.",
                              {stmt.table.Text()}));
    }
    const bool same = context_.options.identityInsertTable == table->id &&
                      context_.options.identityInsertDatabase == r.catalog->File();
    if (stmt.on && context_.options.identityInsertTable != 0 && !same) {
        throw SqlError(8107,
                       Format(u"IDENTITY_INSERT is already ON for table '%1'. Cannot perform SET "
                              u"operation for table '%2'.",
                              {context_.options.identityInsertName, stmt.table.Text()}));
    }
    if (stmt.on) {
        context_.options.identityInsertTable = table->id;
        context_.options.identityInsertDatabase = r.catalog->File();
        context_.options.identityInsertName = r.catalog->File()->name + u"." + table->FullName();
    } else if (same) {
        context_.options.identityInsertTable = 0;
        context_.options.identityInsertDatabase.reset();
    }
    context_.BumpGeneration();
    Done();
}

void Executor::SetOption(const SetOptionStmt& stmt) {
    if (stmt.options.front() == u"IDENTITY_INSERT") return SetIdentityInsert(stmt);
    static constexpr std::u16string_view kSwitches[] = {u"ANSI_NULLS",
                                                        u"ANSI_WARNINGS",
                                                        u"ANSI_PADDING",
                                                        u"ANSI_NULL_DFLT_ON",
                                                        u"ANSI_NULL_DFLT_OFF",
                                                        u"ANSI_DEFAULTS",
                                                        u"ARITHABORT",
                                                        u"ARITHIGNORE",
                                                        u"CURSOR_CLOSE_ON_COMMIT",
                                                        u"NUMERIC_ROUNDABORT",
                                                        u"FMTONLY",
                                                        u"PARSEONLY",
                                                        u"NOEXEC",
                                                        u"STATISTICS",
                                                        u"SHOWPLAN_TEXT",
                                                        u"SHOWPLAN_ALL",
                                                        u"FORCEPLAN",
                                                        u"REMOTE_PROC_TRANSACTIONS",
                                                        u"CONCAT_NULL_YIELDS_NULL",
                                                        u"NOCOUNT",
                                                        u"XACT_ABORT",
                                                        u"QUOTED_IDENTIFIER",
                                                        u"IMPLICIT_TRANSACTIONS"};
    static constexpr std::u16string_view kValues[] = {
        u"TEXTSIZE",    u"ROWCOUNT",          u"LOCK_TIMEOUT",
        u"DATEFORMAT",  u"LANGUAGE",          u"DATEFIRST",
        u"ISOLATION",   u"DEADLOCK_PRIORITY", u"QUERY_GOVERNOR_COST_LIMIT",
        u"CONTEXT_INFO"};
    for (const std::u16string& option : stmt.options) {
        const auto among = [&](const auto& list) {
            for (const std::u16string_view known : list) {
                if (option == known) return true;
            }
            return false;
        };
        if (!among(kSwitches) && !among(kValues)) {
            throw SqlError(195, Format(u"'%1' is not a recognized SET option.", {option}), 15);
        }
        const bool refused =
            stmt.on && (option == u"PARSEONLY" || option == u"NOEXEC" ||
                        option == u"SHOWPLAN_TEXT" || option == u"SHOWPLAN_ALL" ||
                        option == u"IMPLICIT_TRANSACTIONS" || option == u"NUMERIC_ROUNDABORT");
        const bool nullsRefused = !stmt.on && option == u"CONCAT_NULL_YIELDS_NULL";
        if (refused || nullsRefused) {
            throw SqlError(195,
                           Format(u"SET %1 %2 is not supported by this server.",
                                  {option, stmt.on ? u"ON" : u"OFF"}),
                           15);
        }
        if (option == u"FMTONLY") context_.options.formatOnly = stmt.on;
        if (option == u"LOCK_TIMEOUT" && stmt.expr) {
            context_.options.lockTimeout = static_cast<int>(Evaluate(*stmt.expr).value.i);
        }
        if (option == u"ISOLATION") context_.options.snapshot = stmt.value == u"SNAPSHOT";
        if (option == u"NOCOUNT") context_.options.noCount = stmt.on;
        if (option == u"XACT_ABORT") context_.options.xactAbort = stmt.on;
        if (option == u"QUOTED_IDENTIFIER") context_.options.quotedIdentifier = stmt.on;
        if (option == u"CONTEXT_INFO" && stmt.expr) {
            const TypedValue value = Evaluate(*stmt.expr);
            if (!IsBinary(value.type.id) || value.value.IsNull()) {
                throw SqlError(2743,
                               u"SET CONTEXT_INFO option requires varbinary (128) NOT NULL "
                               u"parameter.");
            }
            context_.contextInfo = Convert(value.value, value.type,
                                           SqlType{TypeId::Binary, 128, 0, 0}, Purpose::Variable)
                                       .bytes;
        }
        if (option == u"DATEFORMAT") context_.options.dmy = stmt.value == u"DMY";
        if (option == u"ROWCOUNT") context_.options.rowLimit = Evaluate(*stmt.expr).value.i;
        if (option == u"LANGUAGE" && stmt.expr) EvaluateText(*stmt.expr);
    }
    Done();
}

void Executor::Dbcc(const SimpleStmt& stmt) {
    if (stmt.name != u"CHECKIDENT" || stmt.args.empty()) {
        throw SqlError(
            2526,
            u"Incorrect DBCC statement. Check the documentation for the correct DBCC syntax "
            u"and options.");
    }
    const std::u16string text = EvaluateText(*stmt.args[0]);
    const std::vector<StmtPtr> parsed = Parser(u"TRUNCATE TABLE " + text).ParseBatch();
    const ObjectName& name = static_cast<const DropObjectStmt&>(*parsed.front()).names.front();
    const Resolved r = context_.Resolve(name);
    const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
    if (!table) {
        throw SqlError(
            2501, Format(u"Cannot find a table or object with the name \"%1\". Check the system "
                         u"catalog.",
                         {text}));
    }
    RequireAlter(context_, r, name, 1);
    if (table->Identity() == nullptr) {
        throw SqlError(7997, Format(u"'%1' does not contain an identity column.", {table->name}));
    }
    const auto last = r.catalog->File()->LastIdentity(table->id);
    if (stmt.args.size() > 2) {
        const TypedValue v = Evaluate(*stmt.args[2]);
        r.catalog->File()->ReseedIdentity(
            table->id, Convert(v.value, v.type, Plain(TypeId::BigInt), Purpose::Variable).i);
    }
    Message m;
    m.number = 7998;
    m.severity = 10;
    const std::u16string shown = last ? ToText(*last) : u"NULL";
    m.text = Format(
        u"Checking identity information: current identity value '%1', current column value '%1'.",
        {shown});
    sink_.Say(m);
    Done();
}

}  // namespace sandbox::engine
