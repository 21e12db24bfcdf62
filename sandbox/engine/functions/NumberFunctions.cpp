// Arithmetic and aggregates.
#include <cmath>
#include <new>

#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

[[noreturn]] void DivideByZero() {
    throw SqlError(8134, u"Divide by zero error encountered.");
}

[[noreturn]] void Overflow(TypeId type) {
    throw SqlError(8115, Format(u"Arithmetic overflow error converting expression to data type %1.",
                                {TypeName(type)}));
}

void ConvertValue(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    int style = static_cast<int>(Int(a[3]));
    if (style == 0 && context.options.dmy) style = 103;
    const SqlType from = Unpack(Int(a[1]));
    const SqlType to = Unpack(Int(a[2]));
    if (style == 103 && (!IsDateTime(to.id) || Int(a[3]) != 0)) style = static_cast<int>(Int(a[3]));
    const std::int64_t purpose = Int(a[4]);
    ReturnValue(c, Convert(ReadValue(a[0]), from, to,
                           purpose == 2   ? Purpose::Column
                           : purpose == 1 ? Purpose::Variable
                                          : Purpose::Cast,
                           style));
}

void IntegerArithmetic(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const Int128 x = Int(a[1]);
    const Int128 y = Int(a[2]);
    const auto type = static_cast<TypeId>(Int(a[3]));
    Int128 r = 0;
    switch (Int(a[0])) {
        case 1:
            r = x + y;
            break;
        case 2:
            r = x - y;
            break;
        case 3:
            r = x * y;
            break;
        default:
            if (y == 0) DivideByZero();
            r = Int(a[0]) == 4 ? x / y : x % y;
            break;
    }
    if (r < IntegerMin(type) || r > IntegerMax(type)) Overflow(type);
    sqlite3_result_int64(c, static_cast<std::int64_t>(r));
}

void FloatArithmetic(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const double x = sqlite3_value_double(a[1]);
    const double y = sqlite3_value_double(a[2]);
    double r = 0;
    switch (Int(a[0])) {
        case 1:
            r = x + y;
            break;
        case 2:
            r = x - y;
            break;
        case 3:
            r = x * y;
            break;
        default:
            if (y == 0) DivideByZero();
            r = x / y;
            break;
    }
    if (Int(a[3]) != 0) r = static_cast<double>(static_cast<float>(r));
    if (!std::isfinite(r)) Overflow(TypeId::Float);
    sqlite3_result_double(c, r);
}

// An exact number as value and scale.
std::pair<Int128, int> Exact(sqlite3_value* v, const SqlType& type) {
    const Int128 value = DecimalFromValue(ReadValue(v));
    return {value, IsMoney(type.id) ? 4 : IsDecimal(type.id) ? type.scale : 0};
}

void DecimalArithmetic(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[3])) return sqlite3_result_null(c);
    const SqlType type = Unpack(Int(a[5]));
    const auto [x, sx] = Exact(a[1], Unpack(Int(a[2])));
    const auto [y, sy] = Exact(a[3], Unpack(Int(a[4])));
    const bool money = IsMoney(type.id);
    const int scale = money ? 4 : type.scale;
    std::optional<Int128> r;
    switch (Int(a[0])) {
        case 1:
        case 2: {
            const auto l = Rescale(x, sx, std::max(sx, sy));
            const auto m = Rescale(y, sy, std::max(sx, sy));
            if (l && m) r = Rescale(Int(a[0]) == 1 ? *l + *m : *l - *m, std::max(sx, sy), scale);
            break;
        }
        case 3:
            r = Multiply(x, y, sx + sy, scale);
            break;
        case 4:
            if (y == 0) DivideByZero();
            r = Divide(x, sx, y, sy, scale);
            break;
        default: {
            if (y == 0) DivideByZero();
            const auto l = Rescale(x, sx, std::max(sx, sy));
            const auto m = Rescale(y, sy, std::max(sx, sy));
            if (l && m) r = Rescale(*l % *m, std::max(sx, sy), scale);
            break;
        }
    }
    if (money) {
        const Int128 limit =
            type.id == TypeId::Money ? IntegerMax(TypeId::BigInt) : IntegerMax(TypeId::Int);
        if (!r || *r > limit || *r < -limit - 1) Overflow(type.id);
        return sqlite3_result_int64(c, static_cast<std::int64_t>(*r));
    }
    if (!r || DigitCount(*r) > type.precision) Overflow(TypeId::Numeric);
    ReturnValue(c, DecimalToValue(*r, type));
}

void Xor(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    sqlite3_result_int64(c, Int(a[0]) ^ Int(a[1]));
}

void Range(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const auto type = static_cast<TypeId>(Int(a[1]));
    if (IsInteger(type) && (Int(a[0]) < IntegerMin(type) || Int(a[0]) > IntegerMax(type)))
        Overflow(type);
    sqlite3_result_int64(c, Int(a[0]));
}

// ROUND, FLOOR, CEILING, ABS, SIGN keep the type: what, value, type, length, cut.
void Rounding(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[3])) return sqlite3_result_null(c);
    const SqlType type = Unpack(Int(a[2]));
    const std::int64_t what = Int(a[0]);
    const auto length = static_cast<int>(Int(a[3]));
    const bool cut = Int(a[4]) != 0;
    if (IsApproximate(type.id)) {
        const double d = sqlite3_value_double(a[1]);
        double r;
        if (what == 0) {
            const double unit = std::pow(10.0, length);
            r = (cut ? std::trunc(d * unit) : std::round(d * unit)) / unit;
        } else if (what == 1) {
            r = std::floor(d);
        } else if (what == 2) {
            r = std::ceil(d);
        } else {
            r = what == 3 ? std::fabs(d) : d > 0 ? 1 : d < 0 ? -1 : 0;
        }
        return sqlite3_result_double(c, r);
    }
    auto [v, scale] = Exact(a[1], type);
    const Int128 one = PowerOf10(scale);
    if (what == 0 && length < scale) {
        const int digits = scale - length;
        if (digits > 38) {
            v = 0;
        } else if (cut) {
            v -= v % PowerOf10(digits);
        } else {
            const auto rounded = Rescale(v, digits, 0);
            const auto back = rounded ? Rescale(*rounded, 0, digits) : std::nullopt;
            if (!back) Overflow(type.id);
            v = *back;
        }
    } else if (what == 1 || what == 2) {
        const Int128 rest = v % one;
        v -= rest;
        if (what == 1 && rest < 0) v -= one;
        if (what == 2 && rest > 0) v += one;
    } else if (what == 3) {
        v = v < 0 ? -v : v;
    } else if (what == 4) {
        v = v > 0 ? one : v < 0 ? -one : 0;
    }
    if (IsDecimal(type.id)) {
        if (DigitCount(v) > type.precision) Overflow(TypeId::Numeric);
        return ReturnValue(c, DecimalToValue(v, type));
    }
    if (IsInteger(type.id) && (v < IntegerMin(type.id) || v > IntegerMax(type.id)))
        Overflow(type.id);
    sqlite3_result_int64(c, static_cast<std::int64_t>(v));
}

// SQRT, POWER, EXP, LOG ... on doubles: what, x, y.
void Mathematics(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const double x = sqlite3_value_double(a[1]);
    const double y = sqlite3_value_double(a[2]);
    double r = 0;
    switch (Int(a[0])) {
        case 0:
            r = std::sqrt(x);
            break;
        case 1:
            r = std::pow(x, y);
            break;
        case 2:
            r = std::exp(x);
            break;
        case 3:
            r = std::log(x);
            break;
        case 4:
            r = std::log10(x);
            break;
        case 5:
            r = std::sin(x);
            break;
        case 6:
            r = std::cos(x);
            break;
        default:
            r = 3.14159265358979323846;
            break;
    }
    if (std::isnan(r)) throw SqlError(3623, u"An invalid floating point operation occurred.");
    if (std::isinf(r)) Overflow(TypeId::Float);
    sqlite3_result_double(c, r);
}

struct SumState {
    Int128 sum;
    std::int64_t count;
    double real;
    bool overflow;
};

// SQLite's memory is aligned to eight bytes only, so the state lives on the heap.
SumState* State(sqlite3_context* c) {
    auto** slot = static_cast<SumState**>(sqlite3_aggregate_context(c, sizeof(void*)));
    if (slot == nullptr) return nullptr;
    if (*slot == nullptr) *slot = new (std::nothrow) SumState{};
    return *slot;
}

SumState TakeState(sqlite3_context* c) {
    auto** slot = static_cast<SumState**>(sqlite3_aggregate_context(c, 0));
    if (slot == nullptr || *slot == nullptr) return {};
    const SumState s = **slot;
    delete *slot;
    *slot = nullptr;
    return s;
}

void SumStep(sqlite3_context* c, int, sqlite3_value** a) {
    SumState* s = State(c);
    if (s == nullptr || IsNull(a[0])) return;
    ++s->count;
    if (sqlite3_value_type(a[0]) == SQLITE_FLOAT) {
        s->real += sqlite3_value_double(a[0]);
        return;
    }
    s->sum += sqlite3_value_type(a[0]) == SQLITE_BLOB
                  ? DecodeDecimalBlob(static_cast<const unsigned char*>(sqlite3_value_blob(a[0])))
                  : Int128{Int(a[0])};
    if (s->sum >= PowerOf10(38) || s->sum <= -PowerOf10(38)) s->overflow = true;
}

void RaiseOverflow(sqlite3_context* c, TypeId type) {
    auto& context = *static_cast<Context*>(sqlite3_user_data(c));
    context.store.pending =
        SqlError(8115, Format(u"Arithmetic overflow error converting expression to data type %1.",
                              {TypeName(type)}));
    sqlite3_result_error(c, "raised", -1);
}

void IntegerResult(sqlite3_context* c, Int128 v) {
    if (v < IntegerMin(TypeId::BigInt) || v > IntegerMax(TypeId::BigInt)) {
        return RaiseOverflow(c, TypeId::BigInt);
    }
    sqlite3_result_int64(c, static_cast<std::int64_t>(v));
}

void IntegerSum(sqlite3_context* c) {
    const SumState s = TakeState(c);
    if (s.count == 0) return sqlite3_result_null(c);
    IntegerResult(c, s.sum);
}

void IntegerAverage(sqlite3_context* c) {
    const SumState s = TakeState(c);
    if (s.count == 0) return sqlite3_result_null(c);
    IntegerResult(c, s.sum / s.count);
}

void DecimalSum(sqlite3_context* c) {
    const SumState s = TakeState(c);
    if (s.count == 0) return sqlite3_result_null(c);
    if (s.overflow) return RaiseOverflow(c, TypeId::Numeric);
    unsigned char raw[16];
    EncodeDecimalBlob(s.sum, raw);
    sqlite3_result_blob(c, raw, 16, SQLITE_TRANSIENT);
}

void FloatSum(sqlite3_context* c) {
    const SumState s = TakeState(c);
    if (s.count == 0) return sqlite3_result_null(c);
    sqlite3_result_double(c, s.real);
}

// The one row of a scalar subquery.
struct OneState {
    sqlite3_value* value;
    std::int64_t rows;
};

void OneStep(sqlite3_context* c, int, sqlite3_value** a) {
    auto* s = static_cast<OneState*>(sqlite3_aggregate_context(c, sizeof(OneState)));
    if (s == nullptr) return;
    if (++s->rows == 1) {
        s->value = sqlite3_value_dup(a[0]);
        return;
    }
    auto& context = *static_cast<Context*>(sqlite3_user_data(c));
    context.store.pending =
        SqlError(512,
                 u"Subquery returned more than 1 value. This is not permitted when the subquery "
                 u"follows =, !=, "
                 u"<, <= , >, >= or when the subquery is used as an expression.");
    sqlite3_result_error(c, "raised", -1);
}

void OneFinal(sqlite3_context* c) {
    auto* s = static_cast<OneState*>(sqlite3_aggregate_context(c, 0));
    if (s == nullptr || s->value == nullptr) return sqlite3_result_null(c);
    sqlite3_result_value(c, s->value);
    sqlite3_value_free(s->value);
    s->value = nullptr;
}

constexpr FunctionEntry kNumberFunctions[] = {
    {"ms_cvt", 5, Purity::Pure, ConvertValue},
    {"ms_iarith", 4, Purity::Pure, IntegerArithmetic},
    {"ms_farith", 4, Purity::Pure, FloatArithmetic},
    {"ms_darith", 6, Purity::Pure, DecimalArithmetic},
    {"ms_xor", 2, Purity::Pure, Xor},
    {"ms_range", 2, Purity::Pure, Range},
    {"ms_round", 5, Purity::Pure, Rounding},
    {"ms_math", 3, Purity::Pure, Mathematics},
};

}  // namespace

void RegisterNumberFunctions(Context& context) {
    RegisterTable(context, kNumberFunctions, std::size(kNumberFunctions));
    const auto aggregate = [&](const char* name,
                               void (*step)(sqlite3_context*, int, sqlite3_value**),
                               void (*final)(sqlite3_context*)) {
        sqlite3_create_function_v2(context.store.Raw(), name, 1, SQLITE_UTF16LE, &context, nullptr,
                                   step, final, nullptr);
    };
    aggregate("ms_sumi", SumStep, IntegerSum);
    aggregate("ms_avgi", SumStep, IntegerAverage);
    aggregate("ms_sumd", SumStep, DecimalSum);
    aggregate("ms_sumf", SumStep, FloatSum);
    aggregate("ms_one", OneStep, OneFinal);
}

}  // namespace sandbox::engine
