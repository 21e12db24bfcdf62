#include "sandbox/engine/catalog/CatalogWriter.h"
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableBuilder.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/syntax/Parser.h"
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

// The schema of a new object. Throws 2760.
int NewSchema(Catalog& catalog, const ObjectName& name) {
    const std::u16string schema = name.schema.empty() ? u"dbo" : name.schema;
    const auto id = catalog.SchemaId(schema);
    if (!id) {
        throw SqlError(
            2760,
            Format(u"The specified schema name \"%1\" either does not exist or you do not have "
                   u"permission to use it.",
                   {schema}));
    }
    return *id;
}

Catalog& TargetCatalog(Context& context, const ObjectName& name) {
    if (!name.server.empty()) {
        throw SqlError(
            117,
            Format(u"The object name '%1' contains more than the maximum number of prefixes. The "
                   u"maximum is 2.",
                   {name.Text()}),
            15);
    }
    Catalog& catalog = context.OpenNamed(u"", name.database);
    if (!name.database.empty() && !SameName(catalog.File()->name, name.database)) {
        throw SqlError(2702, Format(u"Database '%1' does not exist.", {name.database}));
    }
    return catalog;
}

void RefuseTemporary(const ObjectName& name) {
    if (!name.name.starts_with(u"#")) return;
    throw SqlError(2702, u"Temporary objects are not supported by this server.");
}

// Filters came with SQL Server 2008, and are for indexes of tables that are not clustered.
void RefuseOptions(const Context& context, const CreateIndexStmt& stmt, const TableMeta& table) {
    if (stmt.ignoreDuplicates && !stmt.unique) {
        throw SqlError(1916,
                       u"CREATE INDEX options nonunique and ignore_dup_key are mutually "
                       u"exclusive.");
    }
    if (stmt.filter.empty()) return;
    if (context.server.major < 10 || stmt.clustered) ThrowSyntax(u"WHERE");
    if (table.type == u'V') {
        throw SqlError(10610, Format(u"Filtered index '%1' cannot be created on object '%2' "
                                     u"because it is not a user table. Filtered indexes are only "
                                     u"supported on tables.",
                                     {stmt.name, stmt.table.Text()}));
    }
    if (stmt.ignoreDuplicates) {
        throw SqlError(10618, Format(u"Cannot create filtered index '%1' on table '%2' because "
                                     u"the statement sets the IGNORE_DUP_KEY option to ON. "
                                     u"Rewrite the statement so that it does not use the "
                                     u"IGNORE_DUP_KEY option.",
                                     {stmt.name, stmt.table.Text()}));
    }
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

void Executor::CreateIndex(const CreateIndexStmt& stmt) {
    const Resolved r = context_.Resolve(stmt.table);
    const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
    if (!table) {
        throw SqlError(
            1088,
            Format(u"Cannot find the object \"%1\" because it does not exist or you do not have "
                   u"permissions.",
                   {stmt.table.Text()}));
    }
    RequireAlter(context_, r, stmt.table, 12);
    if (table->type == u'V' && !table->schemaBound) {
        throw SqlError(
            1939, Format(u"Cannot create index on view '%1' because the view is not schema bound.",
                         {table->name}));
    }
    if (table->type == u'V' && table->indexes.empty() && !(stmt.unique && stmt.clustered)) {
        throw SqlError(
            1940, Format(u"Cannot create index on view '%1'. It does not have a unique clustered "
                         u"index.",
                         {table->FullName()}));
    }
    IndexMeta index;
    index.name = stmt.name;
    index.unique = stmt.unique;
    index.clustered = stmt.clustered;
    index.filter = stmt.filter;
    index.ignoreDuplicates = stmt.ignoreDuplicates;
    RefuseOptions(context_, stmt, *table);
    const auto add = [&](const std::u16string& name, bool descending, bool included) {
        const ColumnMeta* c = table->Find(name);
        if (c == nullptr) {
            throw SqlError(
                1911,
                Format(u"Column name '%1' does not exist in the target table or view.", {name}));
        }
        index.columns.push_back({c->id, descending, included});
    };
    for (const auto& [name, descending] : stmt.columns)
        add(name, descending, false);
    for (const std::u16string& name : stmt.included)
        add(name, false, true);
    Atomically([&] {
        TableBuilder(context_, *r.catalog).AddIndex(*table, index);
        r.catalog->Changed();
        context_.BumpGeneration();
    });
    Done();
}

void Executor::DropIndex(const DropIndexStmt& stmt) {
    for (const auto& [tableName, indexName] : stmt.indexes) {
        const Resolved r = context_.Resolve(tableName);
        const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
        const IndexMeta* index = nullptr;
        if (table) {
            for (const IndexMeta& x : table->indexes) {
                if (SameName(x.name, indexName)) index = &x;
            }
        }
        const bool may = index != nullptr && MayUse(context_, *r.catalog, *r.object, u"ALTER");
        if (!may) {
            if (stmt.ifExists && index == nullptr) continue;
            throw SqlError(
                3701,
                Format(u"Cannot drop the index '%1.%2', because it does not exist or you do not "
                       u"have permission.",
                       {tableName.Text(), indexName}),
                11, 7);
        }
        if (index->primaryKey || index->uniqueConstraint) {
            throw SqlError(
                3723,
                Format(u"An explicit DROP INDEX is not allowed on index '%1.%2'. It is being used "
                       u"for %3 constraint enforcement.",
                       {tableName.Text(), index->name,
                        index->primaryKey ? u"PRIMARY KEY" : u"UNIQUE KEY"}));
        }
        Atomically([&] {
            DropStorageIndex(context_, *r.catalog, *table, *index);
            CatalogWriter(context_, *r.catalog).RemoveIndex(table->id, index->id);
            r.catalog->Changed();
            context_.BumpGeneration();
        });
    }
    Done();
}

void Executor::CreateView(const CreateViewStmt& stmt) {
    Catalog& catalog = TargetCatalog(context_, stmt.name);
    if (!stmt.name.database.empty()) {
        throw SqlError(
            166,
            u"'CREATE/ALTER VIEW' does not allow specifying the database name as a prefix to the "
            u"object name.",
            15);
    }
    const int schema = NewSchema(catalog, stmt.name);
    Translator translator(context_);
    const TranslatedQuery query = translator.Select(*stmt.query);
    if (!query.variables.empty() || !translator.params.empty()) {
        for (const ParamSource& p : translator.params) {
            if (p.kind == ParamSource::Kind::Variable) {
                throw SqlError(
                    137, Format(u"Must declare the scalar variable \"%1\".", {p.variable}), 15);
            }
        }
    }
    if (!stmt.columns.empty() && stmt.columns.size() != query.columns.size()) {
        throw SqlError(stmt.columns.size() < query.columns.size() ? 8158 : 8159,
                       Format(u"'%1' has %2 columns than were specified in the column list.",
                              {stmt.name.name,
                               stmt.columns.size() < query.columns.size() ? u"more" : u"fewer"}));
    }
    Atomically([&] {
        CatalogWriter writer(context_, catalog);
        const auto existing = catalog.Find(stmt.name.schema, stmt.name.name);
        NewObject object;
        object.id = existing ? existing->id : catalog.File()->NextObjectId();
        if (stmt.alter) {
            if (!existing || existing->type != u"V") ThrowInvalidObject(stmt.name.Text());
            writer.RemoveObject(existing->id);
        } else {
            writer.CheckName(stmt.name.name, schema);
        }
        object.schemaId = schema;
        object.name = stmt.name.name;
        object.type = u"V";
        object.text = stmt.text;
        object.bound = stmt.schemaBinding;
        writer.AddObject(object);
        std::vector<std::u16string> names;
        for (std::size_t i = 0; i < query.columns.size(); ++i) {
            const ColumnInfo& info = query.columns[i];
            ColumnMeta c;
            c.id = static_cast<int>(i) + 1;
            c.name = stmt.columns.empty() ? info.name : stmt.columns[i];
            if (c.name.empty()) {
                throw SqlError(
                    4511,
                    Format(u"Create View or Function failed because no column name was specified "
                           u"for column %1.",
                           {ToText(c.id)}));
            }
            for (const std::u16string& other : names) {
                if (SameName(other, c.name)) {
                    throw SqlError(
                        4506,
                        Format(u"Column names in each view or function must be unique. Column "
                               u"name '%1' in view or function '%2' is specified more than "
                               u"once.",
                               {c.name, stmt.name.name}));
                }
            }
            names.push_back(c.name);
            c.type = info.type;
            c.nullable = info.nullable;
            c.identity = info.identity;
            c.computed = false;
            writer.AddColumn(object.id, c);
        }
        for (const auto& [owner, id] : translator.used) {
            if (owner == &catalog) writer.AddDependency(object.id, id);
        }
        catalog.Changed();
        context_.BumpGeneration();
    });
    Done();
}

void Executor::CreateProcedure(const CreateProcedureStmt& stmt) {
    RefuseTemporary(stmt.name);
    Catalog& catalog = context_.Current();
    const int schema = NewSchema(catalog, stmt.name);
    for (const Parameter& p : stmt.parameters) {
        if (!p.type.known) {
            throw SqlError(2715,
                           Format(u"Column, parameter, or variable #1: Cannot find data type %1.",
                                  {p.type.name}));
        }
        for (const Parameter& other : stmt.parameters) {
            if (&other != &p && SameName(other.name, p.name)) {
                throw SqlError(
                    134,
                    Format(u"The variable name '%1' has already been declared. Variable names must "
                           u"be unique within a query batch or stored procedure.",
                           {p.name}),
                    15);
            }
        }
    }
    Atomically([&] {
        CatalogWriter writer(context_, catalog);
        const auto existing = catalog.Find(stmt.name.schema, stmt.name.name);
        NewObject object;
        object.id = existing ? existing->id : catalog.File()->NextObjectId();
        if (stmt.alter) {
            if (!existing || existing->type != u"P") ThrowInvalidObject(stmt.name.Text());
            writer.RemoveObject(existing->id);
        } else {
            writer.CheckName(stmt.name.name, schema);
        }
        object.schemaId = schema;
        object.name = stmt.name.name;
        object.type = u"P";
        object.text = stmt.text;
        writer.AddObject(object);
        catalog.Changed();
        context_.BumpGeneration();
    });
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
