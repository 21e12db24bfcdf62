#include "catalog/CatalogReader.h"

#include <algorithm>
#include <utility>

#include "catalog/Identifiers.h"
#include "core/Error.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "data/Connection.h"
#include "data/Recordset.h"

namespace QuillonLib {

// The queries of one generation of catalogs. That of the columns begins with `ColumnFacts`, then
// `Collations`. `ColumnsOf` and `IndexesOf` end in an open parenthesis that takes
// a list of object ids; `ColumnsOrder` and `IndexesOrder` follow it.
struct CatalogReader::Dialect {
    std::u16string_view UserTables;
    std::u16string_view IndexedViews;
    std::u16string_view ColumnFacts;  // the columns that every server of the generation has
    std::u16string_view Collations;   // those that tell a column's collation and its code page
    std::u16string_view ColumnsOf;
    std::u16string_view ColumnsOrder;
    std::u16string_view IndexesOf;
    std::u16string_view FilteredIndexes;  // condition that leaves them out, where they exist
    std::u16string_view IndexesOrder;
};

// sysindexes.status: 2 unique, 0x800 primary key, 0x1000 unique constraint, 0x20 hypothetical and
// 0x40 statistics (left out). A row of systypes whose xusertype is its xtype is a base type.
const CatalogReader::Dialect CatalogReader::SystemTables{
    .UserTables =
        u"SELECT u.name, o.name FROM sysobjects o"
        u" INNER JOIN sysusers u ON u.uid = o.uid"
        u" WHERE o.xtype = 'U' AND OBJECTPROPERTY(o.id, 'IsMSShipped') = 0"
        u" ORDER BY u.name, o.name",
    .IndexedViews =
        u"SELECT u.name, o.name FROM sysobjects o"
        u" INNER JOIN sysusers u ON u.uid = o.uid"
        u" WHERE o.xtype = 'V' AND OBJECTPROPERTY(o.id, 'IsMSShipped') = 0"
        u" AND EXISTS (SELECT * FROM sysindexes i WHERE i.id = o.id"
        u" AND i.indid BETWEEN 1 AND 254 AND (i.status & 96) = 0)"
        u" ORDER BY u.name, o.name",
    .ColumnFacts =
        u"SELECT u.name, o.name, o.xtype, c.name, t.name, c.length, c.prec, c.scale,"
        u" c.iscomputed, CASE WHEN (c.status & 128) <> 0 THEN 1 ELSE 0 END, c.isnullable",
    .Collations =
        u", c.collation, CASE WHEN c.xtype IN (35, 167, 175)"
        u" THEN CAST(COLLATIONPROPERTY(c.collation, 'CodePage') AS int) END,"
        u" CAST(COLLATIONPROPERTY(t.collation, 'CodePage') AS int)",
    .ColumnsOf =
        u" FROM sysobjects o"
        u" INNER JOIN sysusers u ON u.uid = o.uid"
        u" INNER JOIN syscolumns c ON c.id = o.id"
        u" INNER JOIN systypes t ON t.xusertype = c.xtype"
        u" WHERE o.xtype IN ('U', 'V') AND o.id IN (",
    .ColumnsOrder = u") ORDER BY o.id, c.colid",
    .IndexesOf =
        u"SELECT u.name, o.name, i.name, i.indid,"
        u" CASE WHEN (i.status & 2048) <> 0 THEN 1 ELSE 0 END,"
        u" CASE WHEN (i.status & 4096) <> 0 THEN 1 ELSE 0 END,"
        u" CASE WHEN (i.status & 2) <> 0 THEN 1 ELSE 0 END, c.name"
        u" FROM sysobjects o"
        u" INNER JOIN sysusers u ON u.uid = o.uid"
        u" INNER JOIN sysindexes i ON i.id = o.id"
        u" INNER JOIN sysindexkeys k ON k.id = i.id AND k.indid = i.indid"
        u" INNER JOIN syscolumns c ON c.id = k.id AND c.colid = k.colid"
        u" WHERE i.indid BETWEEN 1 AND 254 AND (i.status & 96) = 0 AND o.id IN (",
    .FilteredIndexes = u"",
    .IndexesOrder = u" ORDER BY o.id, i.indid, k.keyno",
};

// A disabled index, and one with a filter, promises nothing about the rows of the whole table:
// neither may serve as a key. A hash index (7), of a memory-optimized table, may. A system type's
// collation is that of the database. Names come from joins: the server's name functions take
// metadata locks for every row. Types of the CLR (240) have no base type, and the login may not see
// all of them.
const CatalogReader::Dialect CatalogReader::SystemViews{
    .UserTables =
        u"SELECT s.name, o.name FROM sys.objects o"
        u" INNER JOIN sys.schemas s ON s.schema_id = o.schema_id"
        u" WHERE o.type = 'U' AND o.is_ms_shipped = 0"
        u" ORDER BY s.name, o.name",
    .IndexedViews =
        u"SELECT s.name, o.name FROM sys.objects o"
        u" INNER JOIN sys.schemas s ON s.schema_id = o.schema_id"
        u" WHERE o.type = 'V' AND o.is_ms_shipped = 0"
        u" AND EXISTS (SELECT * FROM sys.indexes i WHERE i.object_id = o.object_id"
        u" AND i.index_id > 0)"
        u" ORDER BY s.name, o.name",
    .ColumnFacts =
        u"SELECT s.name, o.name, o.type, c.name, t.name, c.max_length, c.precision,"
        u" c.scale, c.is_computed, c.is_identity, c.is_nullable",
    .Collations =
        u", c.collation_name, CASE WHEN c.system_type_id IN (35, 167, 175)"
        u" THEN CAST(COLLATIONPROPERTY(c.collation_name, 'CodePage') AS int) END,"
        u" CAST(COLLATIONPROPERTY(t.collation_name, 'CodePage') AS int)",
    .ColumnsOf =
        u" FROM sys.objects o"
        u" INNER JOIN sys.schemas s ON s.schema_id = o.schema_id"
        u" INNER JOIN sys.columns c ON c.object_id = o.object_id"
        u" LEFT JOIN sys.types t ON t.user_type_id ="
        u" CASE c.system_type_id WHEN 240 THEN c.user_type_id ELSE c.system_type_id END"
        u" WHERE o.type IN ('U', 'V') AND o.object_id IN (",
    .ColumnsOrder = u") ORDER BY o.object_id, c.column_id",
    .IndexesOf =
        u"SELECT s.name, o.name, i.name, i.index_id,"
        u" i.is_primary_key, i.is_unique_constraint, i.is_unique, c.name"
        u" FROM sys.objects o"
        u" INNER JOIN sys.schemas s ON s.schema_id = o.schema_id"
        u" INNER JOIN sys.indexes i ON i.object_id = o.object_id"
        u" INNER JOIN sys.index_columns k"
        u" ON k.object_id = i.object_id AND k.index_id = i.index_id"
        u" INNER JOIN sys.columns c"
        u" ON c.object_id = k.object_id AND c.column_id = k.column_id"
        u" WHERE i.type IN (1, 2, 7) AND i.is_hypothetical = 0 AND i.is_disabled = 0"
        u" AND k.key_ordinal > 0 AND o.object_id IN (",
    .FilteredIndexes = u" AND i.has_filter = 0",
    .IndexesOrder = u" ORDER BY o.object_id, i.index_id, k.key_ordinal",
};

namespace {

// In place of `Collations`: SQL Server 7.0 has one collation for the whole server.
constexpr std::u16string_view NoCollations = u", NULL, NULL, NULL";

// Behind `Collations`: which columns the server writes itself, and whether the table is the history
// of another.
constexpr std::u16string_view Temporal =
    u", c.generated_always_type,"
    u" (SELECT n.temporal_type FROM sys.tables n WHERE n.object_id = o.object_id)";
constexpr std::u16string_view NotTemporal = u", 0, 0";
// Behind these: whether the column shows the sparse ones.
constexpr std::u16string_view ColumnSets = u", c.is_column_set";
constexpr std::u16string_view NoColumnSets = u", 0";
constexpr std::int32_t HistoryTable = 1;  // sys.tables.temporal_type

constexpr std::int32_t FirstVersionWithCollations = 8;
constexpr std::int32_t FirstVersionWithSystemViews = 9;
constexpr std::int32_t FirstVersionWithFilteredIndexes = 10;
constexpr std::int32_t FirstVersionWithColumnSets = 10;
constexpr std::int32_t FirstVersionWithTemporalTables = 13;
// What the services in the cloud say that they are, whatever they know.
constexpr std::int32_t VersionOfServices = 12;

std::u16string CellText(const Recordset& rows, std::size_t field) {
    return rows.Fields(field).Value().Get<std::u16string>();
}

// Empty for a NULL: a column of numbers has no collation, a type that the login may not see no
// name.
std::u16string TextOrNone(const Recordset& rows, std::size_t field) {
    const Value value = rows.Fields(field).Value();
    return value.IsNull() ? std::u16string() : value.Get<std::u16string>();
}

// 0 for a NULL: columns of types without precision and scale have none in the system tables, and
// only char, varchar and text have a code page.
std::int32_t NumberOf(const Recordset& rows, std::size_t field) {
    const Value value = rows.Fields(field).Value();
    return value.IsNull() ? 0 : static_cast<std::int32_t>(ToInt64(value));
}

bool FlagOf(const Recordset& rows, std::size_t field) {
    return NumberOf(rows, field) != 0;
}

std::int32_t LengthInTypeUnits(std::u16string_view dataType, std::int32_t bytes) {
    const bool twoByteUnits = dataType == u"nchar" || dataType == u"nvarchar";
    return twoByteUnits && bytes > 0 ? bytes / 2 : bytes;
}

std::int32_t IndexTypeOf(bool primaryKey, bool uniqueConstraint, bool unique) {
    if (primaryKey) return static_cast<std::int32_t>(IndexType::PrimaryKey);
    if (uniqueConstraint) return static_cast<std::int32_t>(IndexType::UniqueConstraint);
    return unique ? static_cast<std::int32_t>(IndexType::Unique) : 0;
}

bool IsSame(const ObjectName& a, const ObjectName& b) {
    return a.Owner == b.Owner && a.Name == b.Name;
}

ObjectFacts& ObjectOf(std::vector<ObjectFacts>& objects, ObjectName name) {
    // Rows come ordered by object, so the one wanted is nearly always the last.
    for (auto at = objects.rbegin(); at != objects.rend(); ++at) {
        if (IsSame(at->Object, name)) return *at;
    }
    objects.emplace_back();
    objects.back().Object = std::move(name);
    return objects.back();
}

void ReadColumns(const std::shared_ptr<Connection>& connection, std::u16string_view sql,
                 std::vector<ObjectFacts>& objects) {
    Recordset rows;
    for (rows.Open(sql, connection); !rows.EndOfSet(); rows.MoveNext()) {
        ObjectFacts& object = ObjectOf(objects, {CellText(rows, 0), CellText(rows, 1)});
        object.IsView = CellText(rows, 2).starts_with(u'V');
        ColumnFacts column;
        column.Name = CellText(rows, 3);
        column.DataType = TextOrNone(rows, 4);
        column.Length = LengthInTypeUnits(column.DataType, NumberOf(rows, 5));
        column.NumericPrecision = NumberOf(rows, 6);
        column.NumericScale = NumberOf(rows, 7);
        column.Computed = FlagOf(rows, 8);
        column.Identity = FlagOf(rows, 9);
        column.AllowNulls = FlagOf(rows, 10);
        column.Collation = TextOrNone(rows, 11);
        column.CodePage = NumberOf(rows, 12);
        column.DatabaseCodePage = NumberOf(rows, 13);
        column.Generated = FlagOf(rows, 14);
        object.IsHistory = NumberOf(rows, 15) == HistoryTable;
        column.ColumnSet = FlagOf(rows, 16);
        object.Columns.push_back(std::move(column));
    }
}

void ReadIndexes(const std::shared_ptr<Connection>& connection, std::u16string_view sql,
                 std::vector<ObjectFacts>& objects) {
    Recordset rows;
    const ObjectFacts* lastObject = nullptr;
    std::int32_t lastIndex = 0;
    for (rows.Open(sql, connection); !rows.EndOfSet(); rows.MoveNext()) {
        ObjectFacts& object = ObjectOf(objects, {CellText(rows, 0), CellText(rows, 1)});
        const std::int32_t index = NumberOf(rows, 3);
        if (&object != lastObject || index != lastIndex) {
            object.Indexes.push_back(
                {CellText(rows, 2),
                 IndexTypeOf(FlagOf(rows, 4), FlagOf(rows, 5), FlagOf(rows, 6)),
                 {}});
            lastObject = &object;
            lastIndex = index;
        }
        object.Indexes.back().Columns.push_back(CellText(rows, 7));
    }
}

}  // namespace

CatalogReader::CatalogReader(std::shared_ptr<Connection> connection)
    : connection_(std::move(connection)), dialect_(&SystemTables) {
}

std::vector<std::u16string> CatalogReader::DatabaseNames() {
    std::vector<std::u16string> names;
    Recordset rows;
    for (rows.Open(u"SELECT name FROM master..sysdatabases ORDER BY name", connection_);
         !rows.EndOfSet(); rows.MoveNext()) {
        names.push_back(CellText(rows, 0));
    }
    return names;
}

void CatalogReader::UseDatabase(std::u16string_view name) {
    Recordset rows;
    rows.Open(std::u16string(u"SELECT @@MICROSOFTVERSION / 16777216, cmptlevel, name,"
                             u" CASE WHEN DB_NAME() = name THEN 1 ELSE 0 END"
                             u" FROM master..sysdatabases WHERE name = ")
                  .append(QuoteText(name)),
              connection_);
    if (rows.EndOfSet()) {
        throw Error(
            ErrorNumber::ItemNotFound,
            std::u16string(u"The server has no database named '").append(name).append(u"'."));
    }
    version_ = NumberOf(rows, 0);
    level_ = NumberOf(rows, 1);
    dialect_ = version_ >= FirstVersionWithSystemViews ? &SystemViews : &SystemTables;
    temporal_ = KnowsTemporalTables();
    if (!FlagOf(rows, 3)) connection_->Execute(u"USE " + QuoteIdentifier(CellText(rows, 2)));
}

bool CatalogReader::KnowsTemporalTables() const {
    if (version_ != VersionOfServices) return version_ >= FirstVersionWithTemporalTables;
    Recordset rows;
    rows.Open(u"SELECT CAST(SERVERPROPERTY('EngineEdition') AS int)", connection_);
    const std::int32_t edition = NumberOf(rows, 0);
    return edition == 5 || edition == 8 ||
           edition == 12;  // databases and instances of Azure, Fabric
}

std::vector<ObjectName> CatalogReader::Names(std::u16string_view sql) {
    std::vector<ObjectName> names;
    Recordset rows;
    for (rows.Open(sql, connection_); !rows.EndOfSet(); rows.MoveNext()) {
        names.push_back({CellText(rows, 0), CellText(rows, 1)});
    }
    return names;
}

std::vector<ObjectName> CatalogReader::UserTables() {
    return Names(dialect_->UserTables);
}

std::vector<ObjectName> CatalogReader::IndexedViews() {
    return Names(dialect_->IndexedViews);
}

std::vector<ObjectFacts> CatalogReader::Objects(std::span<const ObjectName> names) {
    std::vector<ObjectFacts> objects = ObjectsWithColumns(names);
    AddIndexes(names, objects);
    return objects;
}

std::vector<ObjectFacts> CatalogReader::ObjectsWithColumns(std::span<const ObjectName> names) {
    std::vector<ObjectFacts> objects;
    if (names.empty()) return objects;
    objects.reserve(names.size());
    std::u16string columns(dialect_->ColumnFacts);
    columns.append(version_ < FirstVersionWithCollations ? NoCollations : dialect_->Collations)
        .append(temporal_ ? Temporal : NotTemporal)
        .append(version_ < FirstVersionWithColumnSets ? NoColumnSets : ColumnSets)
        .append(dialect_->ColumnsOf);
    columns.append(ObjectIdList(names)).append(dialect_->ColumnsOrder);
    ReadColumns(connection_, columns, objects);
    return objects;
}

void CatalogReader::AddIndexes(std::span<const ObjectName> names,
                               std::vector<ObjectFacts>& objects) {
    if (names.empty()) return;
    std::u16string indexes(dialect_->IndexesOf);
    indexes.append(ObjectIdList(names)).append(u")");
    if (version_ >= FirstVersionWithFilteredIndexes) indexes.append(dialect_->FilteredIndexes);
    ReadIndexes(connection_, indexes.append(dialect_->IndexesOrder), objects);
}

const ObjectFacts* FindObject(std::span<const ObjectFacts> objects, const ObjectName& name) {
    for (const ObjectFacts& object : objects) {
        if (IsSame(object.Object, name)) return &object;
    }
    for (const ObjectFacts& object : objects) {
        if (EqualIgnoringCase(object.Object.Owner, name.Owner) &&
            EqualIgnoringCase(object.Object.Name, name.Name)) {
            return &object;
        }
    }
    return nullptr;
}

void ThrowObjectNotFound(const ObjectName& name, std::u16string_view database) {
    throw Error(ErrorNumber::ItemNotFound, std::u16string(u"The database '")
                                               .append(database)
                                               .append(u"' has no table or view ")
                                               .append(MakeTableEntry(name.Owner, name.Name))
                                               .append(u"."));
}

}  // namespace QuillonLib
