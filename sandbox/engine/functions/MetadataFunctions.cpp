// OBJECT_ID, OBJECTPROPERTY and the like, and the session's own facts.

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

using Text = std::u16string_view;

// "[db].[owner].[name]" to its parts; false when it is no name.
bool ParseName(Text text, ObjectName& out) {
    std::vector<std::u16string> parts(1);
    try {
        Lexer lexer(text);
        for (Token t = lexer.Next(); t.kind != TokenKind::End; t = lexer.Next()) {
            if (t.kind == TokenKind::Symbol && t.text == u".") {
                parts.emplace_back();
            } else if (t.kind == TokenKind::Name) {
                parts.back() = Unquote(t);
            } else {
                parts.back() += t.text;
            }
        }
    } catch (const SqlError&) {
        return false;
    }
    if (parts.size() > 3 || parts.back().empty()) return false;
    out.name = parts.back();
    if (parts.size() > 1) out.schema = parts[parts.size() - 2];
    if (parts.size() > 2) out.database = parts[0];
    return true;
}

std::optional<Resolved> FindObject(Context& context, Text text) {
    ObjectName name;
    if (!ParseName(text, name)) return std::nullopt;
    DatabasePtr file = context.current;
    if (!name.database.empty()) {
        file = context.server.Find(name.database);
        if (!file) return std::nullopt;
    }
    Catalog& catalog = context.Open(file);
    Resolved r{&catalog, catalog.Find(name.schema, name.name)};
    if (!r.object && (name.schema.empty() || SameName(name.schema, u"dbo"))) {
        r.object = catalog.Find(u"sys", name.name);
    }
    if (!r.object || !MaySee(context, catalog, *r.object)) return std::nullopt;
    return r;
}

void ObjectId(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[0]));
    if (!found) return sqlite3_result_null(c);
    if (!IsNull(a[1]) && !SameName(ReadText(a[1]), found->object->type))
        return sqlite3_result_null(c);
    sqlite3_result_int64(c, found->object->id);
}

Catalog* DatabaseArgument(Context& context, sqlite3_value* id) {
    if (IsNull(id)) return &context.Current();
    const DatabasePtr file = context.server.FindById(static_cast<int>(Int(id)));
    return file ? &context.Open(file) : nullptr;
}

void ObjectNameOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    Catalog* catalog = DatabaseArgument(context, a[1]);
    const auto object = catalog ? catalog->FindById(static_cast<int>(Int(a[0]))) : std::nullopt;
    if (!object) return sqlite3_result_null(c);
    ReturnText(c, object->name);
}

void ObjectSchemaName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    Catalog* catalog = DatabaseArgument(context, a[1]);
    const auto object = catalog ? catalog->FindById(static_cast<int>(Int(a[0]))) : std::nullopt;
    if (!object) return sqlite3_result_null(c);
    ReturnText(c, catalog->SchemaName(object->schemaId));
}

// INDEX_COL(table, index id, key) and INDEXKEY_PROPERTY(object id, index id, key, property).
const IndexColumn* KeyColumn(const TablePtr& table, std::int64_t index, std::int64_t key) {
    if (!table) return nullptr;
    for (const IndexMeta& x : table->indexes) {
        if (x.id != index) continue;
        std::int64_t n = 0;
        for (const IndexColumn& k : x.columns) {
            if (!k.included && ++n == key) return &k;
        }
    }
    return nullptr;
}

void IndexCol(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[0]));
    if (!found) return sqlite3_result_null(c);
    const TablePtr table = found->catalog->Table(found->object->id);
    const IndexColumn* key = KeyColumn(table, Int(a[1]), Int(a[2]));
    if (key == nullptr) return sqlite3_result_null(c);
    ReturnText(c, table->FindById(key->columnId)->name);
}

void IndexKeyProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    for (int i = 0; i < 4; ++i) {
        if (IsNull(a[i])) return sqlite3_result_null(c);
    }
    const IndexColumn* key =
        KeyColumn(context.Current().Table(static_cast<int>(Int(a[0]))), Int(a[1]), Int(a[2]));
    if (key == nullptr) return sqlite3_result_null(c);
    if (SameName(ReadText(a[3]), u"ColumnId")) return sqlite3_result_int(c, key->columnId);
    if (SameName(ReadText(a[3]), u"IsDescending"))
        return sqlite3_result_int(c, key->descending ? 1 : 0);
    sqlite3_result_null(c);
}

void TypeNameOf(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    if (Int(a[0]) == 256) return ReturnText(c, u"sysname");
    for (int i = 0; i <= static_cast<int>(TypeId::SqlVariant); ++i) {
        const TypeFacts& facts = Facts(static_cast<TypeId>(i));
        if (facts.userType == Int(a[0])) return ReturnText(c, facts.name);
    }
    sqlite3_result_null(c);
}

void TypeIdOf(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    if (SameName(ReadText(a[0]), u"sysname")) return sqlite3_result_int(c, 256);
    const auto type = TypeByName(ReadText(a[0]));
    if (!type) return sqlite3_result_null(c);
    sqlite3_result_int(c, Facts(type->id).userType);
}

void SchemaNameOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const std::u16string name =
        IsNull(a[0]) ? std::u16string() : context.Current().SchemaName(static_cast<int>(Int(a[0])));
    if (name.empty()) return sqlite3_result_null(c);
    ReturnText(c, name);
}

void SchemaIdOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const auto id = IsNull(a[0]) ? std::nullopt : context.Current().SchemaId(ReadText(a[0]));
    if (!id) return sqlite3_result_null(c);
    sqlite3_result_int(c, *id);
}

void DbId(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const DatabasePtr file = context.server.Find(ReadText(a[0]));
    if (!file) return sqlite3_result_null(c);
    sqlite3_result_int(c, file->id);
}

void DbName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const DatabasePtr file =
        IsNull(a[0]) ? nullptr : context.server.FindById(static_cast<int>(Int(a[0])));
    if (!file) return sqlite3_result_null(c);
    ReturnText(c, file->name);
}

// The name of a database by its number in the process.
void FileName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    Catalog* catalog = context.Attached(static_cast<int>(Int(a[0])));
    ReturnText(c, catalog ? catalog->File()->name : std::u16string());
}

void ColName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const TablePtr table = context.Current().Table(static_cast<int>(Int(a[0])));
    const ColumnMeta* column = table ? table->FindById(static_cast<int>(Int(a[1]))) : nullptr;
    if (column == nullptr) return sqlite3_result_null(c);
    ReturnText(c, column->name);
}

void ColLength(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[0]));
    const TablePtr table = found ? found->catalog->Table(found->object->id) : nullptr;
    const ColumnMeta* column = table ? table->Find(ReadText(a[1])) : nullptr;
    if (column == nullptr) return sqlite3_result_null(c);
    sqlite3_result_int(c, MaxLength(column->type));
}

// what: 0 current, 1 seed, 2 increment
void Identity(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[1]));
    const TablePtr table = found ? found->catalog->Table(found->object->id) : nullptr;
    const ColumnMeta* column = table ? table->Identity() : nullptr;
    if (column == nullptr) return sqlite3_result_null(c);
    Int128 value = Int(a[0]) == 1 ? column->seed : column->increment;
    if (Int(a[0]) == 0) {
        const auto last = found->catalog->File()->LastIdentity(table->id);
        value = last ? *last : column->seed;
    }
    ReturnValue(c, Convert(Value::Int(static_cast<std::int64_t>(value)), Plain(TypeId::BigInt),
                           DecimalType(38, 0), Purpose::Cast));
}

// The rows that a table or an indexed view has now.
void RowsOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    Catalog* catalog = context.Attached(sqlite3_value_int(a[0]));
    const TablePtr table = catalog ? catalog->Table(sqlite3_value_int(a[1])) : nullptr;
    if (!table || table->type != u'U') return sqlite3_result_int64(c, 0);
    Statement count =
        context.store.Prepare("SELECT count(*) FROM " + catalog->Prefix() + table->storage);
    count.Step();
    sqlite3_result_int64(c, count.Integer(0));
}

// Bytes without the zeros at their end.
void Significant(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const auto* const bytes = static_cast<const char*>(sqlite3_value_blob(a[0]));
    int size = sqlite3_value_bytes(a[0]);
    while (size > 0 && bytes[size - 1] == '\0')
        --size;
    sqlite3_result_blob(c, size == 0 ? "" : bytes, size, SQLITE_TRANSIENT);
}

constexpr FunctionEntry kMetadataFunctions[] = {
    {"ms_object_id", 2, Purity::Pure, ObjectId},
    {"ms_object_name", 2, Purity::Pure, ObjectNameOf},
    {"ms_object_schema", 2, Purity::Pure, ObjectSchemaName},
    {"ms_index_col", 3, Purity::Pure, IndexCol},
    {"ms_indexkeyprop", 4, Purity::Pure, IndexKeyProperty},
    {"ms_type_name", 1, Purity::Pure, TypeNameOf},
    {"ms_type_id", 1, Purity::Pure, TypeIdOf},
    {"ms_schema_name", 1, Purity::Pure, SchemaNameOf},
    {"ms_schema_id", 1, Purity::Pure, SchemaIdOf},
    {"ms_db_id", 1, Purity::Pure, DbId},
    {"ms_db_name", 1, Purity::Pure, DbName},
    {"ms_file_name", 1, Purity::Pure, FileName},
    {"ms_significant", 1, Purity::Pure, Significant},
    {"ms_rows", 2, Purity::Impure, RowsOf},
    {"ms_col_name", 2, Purity::Pure, ColName},
    {"ms_col_length", 2, Purity::Pure, ColLength},
    {"ms_ident_info", 2, Purity::Pure, Identity},
};

}  // namespace

void RegisterMetadataFunctions(Context& context) {
    RegisterTable(context, kMetadataFunctions, std::size(kMetadataFunctions));
}

}  // namespace sandbox::engine
