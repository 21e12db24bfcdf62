#include "sandbox/engine/functions/SqlFunctions.h"

#include <cstring>

#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

// What a registered function finds again when SQLite calls it.
struct Registration {
    Context* context;
    FunctionBody body;
};

// No exception may cross SQLite's frames: an error waits in the store.
void Call(sqlite3_context* c, int, sqlite3_value** arguments) {
    const auto& r = *static_cast<Registration*>(sqlite3_user_data(c));
    try {
        r.body(*r.context, c, arguments);
    } catch (SqlError& e) {
        r.context->store.pending = std::move(e);
        sqlite3_result_error(c, "raised", -1);
    } catch (const StoreError& e) {
        sqlite3_result_error(c, e.what(), -1);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(c);
    }
}

std::u16string Copy(const void* data, int bytes) {
    std::u16string out(static_cast<std::size_t>(bytes) / 2, u'\0');
    std::memcpy(out.data(), data, out.size() * 2);
    return out;
}

int TextCollation(void*, int n, const void* a, int m, const void* b) {
    return CompareTextBytes(a, static_cast<std::size_t>(n), b, static_cast<std::size_t>(m));
}

template <int (*Compare)(std::u16string_view, std::u16string_view)>
int UnitCollation(void*, int n, const void* a, int m, const void* b) {
    return Compare(Copy(a, n), Copy(b, m));
}

int PageCollationOrder(void* collation, int n, const void* a, int m, const void* b) {
    const CodePage& page = CodePage::Of(static_cast<const PageCollation*>(collation)->page);
    return ComparePageBytes(page, Copy(a, n), Copy(b, m));
}

// The UTC ticks decide, not the offset.
int OffsetCollation(void*, int, const void* a, int, const void* b) {
    char16_t x[4];
    char16_t y[4];
    std::memcpy(x, a, sizeof x);
    std::memcpy(y, b, sizeof y);
    return std::u16string_view(x, 4).compare(std::u16string_view(y, 4));
}

int VariantCollation(void*, int n, const void* a, int m, const void* b) {
    return CompareVariants(Copy(a, n), Copy(b, m));
}

}  // namespace

void RegisterTable(Context& context, const FunctionEntry* entries, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const FunctionEntry& e = entries[i];
        const int flags = SQLITE_UTF16LE | (e.purity == Purity::Pure ? SQLITE_DETERMINISTIC : 0);
        sqlite3_create_function_v2(context.store.Raw(), e.name, e.arguments, flags,
                                   new Registration{&context, e.body}, Call, nullptr, nullptr,
                                   [](void* p) { delete static_cast<Registration*>(p); });
    }
}

void RegisterFunctions(Context& context) {
    sqlite3* db = context.store.Raw();
    sqlite3_create_collation_v2(db, "ms", SQLITE_UTF16LE, nullptr, TextCollation, nullptr);
    const auto add = [db](const char* name,
                          int (*order)(void*, int, const void*, int, const void*)) {
        sqlite3_create_collation_v2(db, name, SQLITE_UTF16LE, nullptr, order, nullptr);
    };
    add("ms_cs", UnitCollation<CompareTextCase>);
    add("ms_bin", UnitCollation<CompareTextFirstUnit>);
    add("ms_bin2", UnitCollation<CompareTextUnits>);
    for (const PageCollation& c : kPageCollations) {
        sqlite3_create_collation_v2(db, c.name, SQLITE_UTF16LE, const_cast<PageCollation*>(&c),
                                    PageCollationOrder, nullptr);
    }
    sqlite3_create_collation_v2(db, "dto", SQLITE_UTF16LE, nullptr, OffsetCollation, nullptr);
    sqlite3_create_collation_v2(db, "var", SQLITE_UTF16LE, nullptr, VariantCollation, nullptr);
    RegisterNumberFunctions(context);
    RegisterTextFunctions(context);
    RegisterDateFunctions(context);
    RegisterMetadataFunctions(context);
    RegisterPropertyFunctions(context);
    RegisterSessionFunctions(context);
    RegisterWriteFunctions(context);
}

}  // namespace sandbox::engine
