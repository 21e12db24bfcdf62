// CREATE INDEX, DROP INDEX.
#include "sandbox/engine/catalog/CatalogWriter.h"
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableBuilder.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {

namespace {

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

}  // namespace sandbox::engine
