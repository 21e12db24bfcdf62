#include "sandbox/engine/catalog/CatalogWriter.h"
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableBuilder.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/execution/NewObject.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

void RefuseInTransaction(const Context& context, std::u16string_view statement) {
    if (context.transactionDepth == 0) return;
    throw SqlError(
        226, Format(u"%1 statement not allowed within multi-statement transaction.", {statement}));
}

[[noreturn]] void NoSuchToDrop(std::u16string_view what, std::u16string_view name) {
    throw SqlError(3701,
                   Format(u"Cannot drop the %1 '%2', because it does not exist or you do not have "
                          u"permission.",
                          {what, name}),
                   11, 5);
}

}  // namespace

void Executor::CreateDatabase(const CreateDatabaseStmt& stmt) {
    RefuseInTransaction(context_, u"CREATE DATABASE");
    const CollationId collation =
        stmt.collation.empty() ? kServerCollation : NamedCollation(context_, stmt.collation);
    if (FactsOf(collation).codePage == 0) {
        throw SqlError(453, Format(u"Collation '%1' is supported on Unicode data types only and "
                                   u"cannot be set at the database or server level.",
                                   {FactsOf(collation).name}));
    }
    context_.Open(context_.server.Create(stmt.name, collation));
    Done();
}

void Executor::DropDatabase(const DropObjectStmt& stmt) {
    RefuseInTransaction(context_, u"DROP DATABASE");
    for (const ObjectName& name : stmt.names) {
        if (stmt.ifExists && !context_.server.Find(name.name)) continue;
        if (!context_.administrator) NoSuchToDrop(u"database", name.name);
        context_.server.Drop(name.name);
        context_.BumpGeneration();
        context_.RefreshCatalogs();
    }
    Done();
}

void Executor::AlterDatabase(const AlterDatabaseStmt& stmt) {
    const DatabasePtr database =
        SameName(stmt.name, u"CURRENT") ? context_.current : context_.server.Find(stmt.name);
    if (!database || !context_.administrator) {
        throw SqlError(
            5011,
            Format(u"User does not have permission to alter database '%1', the database does "
                   u"not exist, or the database is not in a state that allows access checks.",
                   {stmt.name}),
            14);
    }
    if (stmt.compatibility != 0) {
        const int level = stmt.compatibility;
        const bool old = level == 60 || level == 65 || level == 70;
        const bool known = level >= 80 && level <= context_.server.major * 10 && level % 10 == 0;
        if (!known && !(old && context_.server.major <= 9)) {
            throw SqlError(15048,
                           u"Valid values of the database compatibility level are 80, 90, or 100.");
        }
        database->compatibility = level;
    }
    if (stmt.allowSnapshot) database->allowsSnapshot = *stmt.allowSnapshot;
    Done();
}

void Executor::CreateTable(const CreateTableStmt& stmt) {
    if (IsTemporaryName(stmt.table.name)) return CreateTemporaryTable(stmt);
    RefuseTemporary(stmt.table);
    Catalog& catalog = TargetCatalog(context_, stmt.table);
    Atomically(
        [&] { TableBuilder(context_, catalog).Create(stmt, NewSchema(catalog, stmt.table)); });
    Done();
}

void Executor::CreateTemporaryTable(const CreateTableStmt& stmt) {
    Catalog& catalog = context_.Temporary();
    Atomically([&] { TableBuilder(context_, catalog).Create(stmt, *catalog.SchemaId(u"dbo")); });
    context_.frame->temporaryTables.push_back(catalog.Find({}, stmt.table.name)->id);
    Done();
}

void Executor::DeclareTable(const CreateTableStmt& stmt) {
    const std::u16string folded = FoldName(stmt.table.name);
    for (const auto& [variable, table] : context_.frame->tableVariables) {
        if (variable == folded) return;  // a loop comes by again
    }
    Catalog& catalog = context_.Temporary();
    const int number = catalog.File()->NextObjectId();
    const std::u16string name = u"#" + stmt.table.name + u"_" + ToText(number);
    Atomically(
        [&] { TableBuilder(context_, catalog).Create(stmt, *catalog.SchemaId(u"dbo"), name); });
    context_.frame->tableVariables.emplace_back(folded, name);
    context_.frame->temporaryTables.push_back(catalog.Find({}, name)->id);
}

void Executor::DropTableVariables(const Frame& frame) {
    for (const auto& [variable, name] : frame.tableVariables) {
        const auto object = context_.Temporary().Find({}, name);
        const TablePtr table = object ? context_.Temporary().Table(object->id) : nullptr;
        if (table) TableBuilder(context_, context_.Temporary()).Drop(*table);
    }
}

// What a procedure or a dynamic text has made, and left.
void Executor::DropTemporaryTables(const Frame& frame) {
    for (const int id : frame.temporaryTables) {
        const TablePtr table = context_.Temporary().Table(id);  // a rollback may have taken it
        if (table) TableBuilder(context_, context_.Temporary()).Drop(*table);
    }
}

void Executor::AlterTable(const AlterTableStmt& stmt) {
    const Resolved r = context_.Resolve(stmt.table);
    if (!r.object || r.object->type != u"U") {
        throw SqlError(
            4902,
            Format(u"Cannot find the object \"%1\" because it does not exist or you do not have "
                   u"permissions.",
                   {stmt.table.Text()}));
    }
    RequireAlter(context_, r, stmt.table, 13);
    const TablePtr altered = r.catalog->Table(r.object->id);
    if (altered->historyId != 0 || altered->historyOf != 0) {
        throw SqlError(2702, u"Temporal tables cannot be altered by this server.");
    }
    using Action = AlterTableStmt::Action;
    Atomically([&] {
        TableBuilder builder(context_, *r.catalog);
        switch (stmt.action) {
            case Action::Add:
                builder.Add(r.object->id, stmt);
                break;
            case Action::AlterColumn:
                builder.AlterColumn(r.object->id, stmt);
                break;
            case Action::DropColumns:
                builder.DropColumns(r.object->id, stmt);
                break;
            case Action::DropConstraints:
                builder.DropConstraints(r.object->id, stmt);
                break;
            case Action::Check:
                builder.Enable(r.object->id, stmt);
                break;
        }
    });
    Done();
}

void Executor::DropOne(const ObjectName& name, const DropObjectStmt& stmt) {
    const bool schema = stmt.what == u"schema" || stmt.what == u"user";
    if (schema) {
        Catalog& catalog = context_.Current();
        const auto id = catalog.SchemaId(name.name);
        if (!id || *id <= 4 || !context_.administrator) {
            if (stmt.ifExists && !id) return;
            throw SqlError(
                15151,
                Format(u"Cannot drop the %1 '%2', because it does not exist or you do not have "
                       u"permission.",
                       {stmt.what, name.name}));
        }
        Statement& s = context_.store.Cached("SELECT name FROM " + catalog.Prefix() +
                                             "m_object WHERE schema_id=? LIMIT 1");
        s.BindAll(*id);
        const bool used = s.Step();
        const std::u16string by = used ? s.Text(0) : u"";
        s.Reset();
        if (used) {
            throw SqlError(
                3729,
                Format(u"Cannot drop schema '%1' because it is being referenced by object '%2'.",
                       {name.name, by}));
        }
        context_.store.Cached("DELETE FROM " + catalog.Prefix() + "m_schema WHERE id=?")
            .BindAll(*id)
            .Run();
        catalog.Changed();
        context_.BumpGeneration();
        return;
    }
    const Resolved r = context_.Resolve(name);
    const std::u16string type = stmt.what == u"table" ? u"U" : stmt.what == u"view" ? u"V" : u"P";
    if (!r.object || (r.object->type != type && r.object->type == u"S")) {
        if (stmt.ifExists) return;
        NoSuchToDrop(stmt.what, name.Text());
    }
    if (r.object->type != type) {
        const std::u16string_view other = r.object->type == u"U"   ? u"table"
                                          : r.object->type == u"V" ? u"view"
                                                                   : u"procedure";
        throw SqlError(3705,
                       Format(u"Cannot use DROP %1 with '%2' because '%2' is a %3. Use DROP %4.",
                              {FoldName(stmt.what), name.Text(), other, FoldName(other)}));
    }
    if (!MayUse(context_, *r.catalog, *r.object, u"ALTER")) NoSuchToDrop(stmt.what, name.Text());
    if (type == u"U") {
        const TablePtr table = r.catalog->Table(r.object->id);
        TableBuilder(context_, *r.catalog).Drop(*table);
        return;
    }
    CatalogWriter(context_, *r.catalog).RemoveObject(r.object->id);
    r.catalog->Changed();
    context_.BumpGeneration();
}

void Executor::DropObject(const DropObjectStmt& stmt) {
    for (const ObjectName& name : stmt.names) {
        Atomically([&] { DropOne(name, stmt); });
    }
    Done();
}

void Executor::CreateSchema(const SimpleStmt& stmt) {
    Catalog& catalog = context_.Current();
    if (context_.server.major < 9) ThrowSyntax(stmt.name);
    if (catalog.SchemaId(stmt.name)) {
        throw SqlError(
            2714, Format(u"There is already an object named '%1' in the database.", {stmt.name}),
            16, 6);
    }
    Atomically([&] { CatalogWriter(context_, catalog).AddSchema(stmt.name); });
    Done();
}

}  // namespace sandbox::engine
