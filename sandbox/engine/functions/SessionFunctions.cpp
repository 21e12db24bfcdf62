// What a session knows of itself, and values that are new each time.
#include <random>

#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {

namespace {

template <int What>
void SessionFact(Context& context, sqlite3_context* c, sqlite3_value**) {
    switch (What) {
        case 0:
            return sqlite3_result_int64(c, context.rowCount);
        case 1:
            return sqlite3_result_int64(c, context.lastError);
        case 2:
            return sqlite3_result_int64(c, context.transactionDepth);
        case 3:
            return sqlite3_result_int64(c, context.spid);
        default:
            return sqlite3_result_int64(c, context.frame ? context.frame->procedureId : 0);
    }
}

void ContextInfo(Context& context, sqlite3_context* c, sqlite3_value**) {
    if (!context.contextInfo) return sqlite3_result_null(c);
    ReturnValue(c, Value::Blob(*context.contextInfo));
}

void IdentityValue(Context& context, sqlite3_context* c, sqlite3_value** a) {
    std::optional<std::int64_t> v = context.lastIdentity;
    if (Int(a[0]) == 1) v = context.frame ? context.frame->scopeIdentity : std::nullopt;
    if (!v) return sqlite3_result_null(c);
    ReturnValue(c,
                Convert(Value::Int(*v), Plain(TypeId::BigInt), DecimalType(38, 0), Purpose::Cast));
}

void LastRowVersion(Context& context, sqlite3_context* c, sqlite3_value**) {
    ReturnValue(c, Convert(Value::Int(context.current->LastRowVersion()), Plain(TypeId::BigInt),
                           SqlType{TypeId::VarBinary, 8, 0, 0}, Purpose::Cast));
}

// ERROR_MESSAGE() and its kin: what
void Caught(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (context.caught == nullptr) return sqlite3_result_null(c);
    const Message& m = *context.caught;
    switch (Int(a[0])) {
        case 0:
            return ReturnText(c, m.text);
        case 1:
            return sqlite3_result_int64(c, m.number);
        case 2:
            return sqlite3_result_int64(c, m.severity);
        case 3:
            return sqlite3_result_int64(c, m.state);
        case 4:
            return sqlite3_result_int64(c, m.line);
        default:
            if (m.procedure.empty()) return sqlite3_result_null(c);
            return ReturnText(c, m.procedure);
    }
}

void NewId(Context&, sqlite3_context* c, sqlite3_value**) {
    thread_local std::mt19937_64 random{std::random_device{}()};
    unsigned char wire[16];
    for (unsigned char& byte : wire)
        byte = static_cast<unsigned char>(random());
    wire[7] = static_cast<unsigned char>((wire[7] & 0x0F) | 0x40);
    wire[8] = static_cast<unsigned char>((wire[8] & 0x3F) | 0x80);
    unsigned char stored[16];
    GuidToStorage(wire, stored);
    sqlite3_result_blob(c, stored, 16, SQLITE_TRANSIENT);
}

void Random(Context&, sqlite3_context* c, sqlite3_value**) {
    thread_local std::mt19937_64 random{std::random_device{}()};
    sqlite3_result_double(c, std::uniform_real_distribution<double>(0, 1)(random));
}

constexpr FunctionEntry kSessionFunctions[] = {
    {"ms_rowcount", 0, Purity::Pure, SessionFact<0>},
    {"ms_error", 0, Purity::Pure, SessionFact<1>},
    {"ms_trancount", 0, Purity::Pure, SessionFact<2>},
    {"ms_spid", 0, Purity::Pure, SessionFact<3>},
    {"ms_procid", 0, Purity::Pure, SessionFact<4>},
    {"ms_context_info", 0, Purity::Pure, ContextInfo},
    {"ms_identity", 1, Purity::Impure, IdentityValue},
    {"ms_dbts", 0, Purity::Impure, LastRowVersion},
    {"ms_caught", 1, Purity::Pure, Caught},
    {"ms_newid", 0, Purity::Impure, NewId},
    {"ms_rand", 0, Purity::Impure, Random},
};

}  // namespace

void RegisterSessionFunctions(Context& context) {
    RegisterTable(context, kSessionFunctions, std::size(kSessionFunctions));
}

}  // namespace sandbox::engine
