// What INSERT, UPDATE and DELETE call for each row: counters, and the notes of triggers.
#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

DatabasePtr FileOf(Context& context, sqlite3_value* number) {
    Catalog* catalog = context.Attached(static_cast<int>(Int(number)));
    return catalog ? catalog->File() : context.current;
}

void Remember(Context& context, std::int64_t value) {
    context.lastIdentity = value;
    if (context.frame) context.frame->scopeIdentity = value;
}

// database, table, seed, increment, type
void NextIdentity(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const std::int64_t v =
        FileOf(context, a[0])->NextIdentity(static_cast<int>(Int(a[1])), Int(a[2]), Int(a[3]));
    const SqlType type = Unpack(Int(a[4]));
    const bool fits =
        IsInteger(type.id) ? v >= IntegerMin(type.id) && v <= IntegerMax(type.id) : true;
    if (!fits) {
        throw SqlError(8115,
                       Format(u"Arithmetic overflow error converting IDENTITY to data type %1.",
                              {TypeName(type.id)}));
    }
    Remember(context, v);
    if (IsInteger(type.id)) return sqlite3_result_int64(c, v);
    ReturnValue(c, Convert(Value::Int(v), Plain(TypeId::BigInt), type, Purpose::Cast));
}

// value, database, table, increment, type: an identity value that the statement brought itself
void GivenIdentity(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const Value given = ReadValue(a[0]);
    const Value whole = Convert(given, Unpack(Int(a[4])), Plain(TypeId::BigInt), Purpose::Cast);
    FileOf(context, a[1])->SeeIdentity(static_cast<int>(Int(a[2])), whole.i, Int(a[3]));
    Remember(context, whole.i);
    sqlite3_result_value(c, a[0]);
}

void RowVersion(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const std::int64_t v = FileOf(context, a[0])->NextRowVersion();
    unsigned char bytes[8];
    for (int i = 0; i < 8; ++i)
        bytes[i] = static_cast<unsigned char>(v >> (56 - 8 * i));
    sqlite3_result_blob(c, bytes, 8, SQLITE_TRANSIENT);
}

// database, constraint, kind (0 child written, 1 parent deleted, 2 parent updated), columns, keys
// ...
void NoteKey(sqlite3_context* c, int, sqlite3_value** a) {
    auto& context = *static_cast<Context*>(sqlite3_user_data(c));
    try {
        PendingKey p;
        p.database = FileOf(context, a[0]);
        p.constraint = static_cast<int>(Int(a[1]));
        const std::int64_t kind = Int(a[2]);
        const auto columns = static_cast<int>(Int(a[3]));
        p.parentGone = kind != 0;
        p.updated = kind == 2;
        for (int i = 0; i < columns; ++i) {
            if (IsNull(a[4 + i])) return;  // a key with NULL refers to nothing
            p.key.push_back(ReadValue(a[4 + i]));
            if (kind == 2) p.newKey.push_back(ReadValue(a[4 + columns + i]));
        }
        context.pendingKeys.push_back(std::move(p));
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(c);
    }
}

// database, table, check constraint
void CheckFailed(Context& context, sqlite3_context*, sqlite3_value** a) {
    Catalog* catalog = context.Attached(static_cast<int>(Int(a[0])));
    const TablePtr table = catalog->Table(static_cast<int>(Int(a[1])));
    for (const CheckMeta& check : table->checks) {
        if (check.id != Int(a[2])) continue;
        const ColumnMeta* column = table->FindById(check.columnId);
        std::u16string text = Format(
            u"The %1 statement conflicted with the CHECK constraint \"%2\". The conflict occurred "
            u"in "
            u"database \"%3\", table \"%4\"",
            {context.verb, check.name, catalog->File()->name, table->FullName()});
        if (column != nullptr) text += u", column '" + column->name + u"'";
        throw SqlError(547, text + u".", 16, 0);
    }
}

constexpr FunctionEntry kWriteFunctions[] = {
    {"ms_ident", 5, Purity::Impure, NextIdentity},
    {"ms_seeident", 5, Purity::Impure, GivenIdentity},
    {"ms_rowver", 1, Purity::Impure, RowVersion},
    {"ms_checkfailed", 3, Purity::Impure, CheckFailed},
};

}  // namespace

void RegisterWriteFunctions(Context& context) {
    RegisterTable(context, kWriteFunctions, std::size(kWriteFunctions));
    sqlite3_create_function_v2(context.store.Raw(), "ms_notekey", -1, SQLITE_UTF16LE, &context,
                               NoteKey, nullptr, nullptr, nullptr);
}

}  // namespace sandbox::engine
