// The functions of dates and times.
#include "sandbox/engine/translation/FunctionCall.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

int DatePartNumber(const Expr& e) {
    struct Name {
        std::u16string_view name;
        int part;
    };
    static constexpr Name kNames[] = {
        {u"year", 0},    {u"yy", 0},
        {u"yyyy", 0},    {u"quarter", 1},
        {u"qq", 1},      {u"q", 1},
        {u"month", 2},   {u"mm", 2},
        {u"m", 2},       {u"dayofyear", 3},
        {u"dy", 3},      {u"y", 3},
        {u"day", 4},     {u"dd", 4},
        {u"d", 4},       {u"week", 5},
        {u"wk", 5},      {u"ww", 5},
        {u"weekday", 6}, {u"dw", 6},
        {u"w", 6},       {u"hour", 7},
        {u"hh", 7},      {u"minute", 8},
        {u"mi", 8},      {u"n", 8},
        {u"second", 9},  {u"ss", 9},
        {u"s", 9},       {u"millisecond", 10},
        {u"ms", 10},     {u"microsecond", 11},
        {u"mcs", 11},    {u"nanosecond", 12},
        {u"ns", 12},
    };
    if (e.args[0]->kind == ExprKind::Column && e.args[0]->name.size() == 1) {
        for (const Name& n : kNames) {
            if (SameName(n.name, e.args[0]->name.front())) return n.part;
        }
        throw SqlError(155,
                       Format(u"'%1' is not a recognized %2 option.",
                              {e.args[0]->name.front(), e.name.front()}),
                       15);
    }
    throw SqlError(1023, Format(u"Invalid parameter 1 specified for %1.", {e.name.front()}), 15);
}

// A date argument: strings and numbers are datetimes.
SqlType DateType(const Bound& b) {
    return IsDateTime(b.type.id) ? b.type : Plain(TypeId::DateTime);
}

Bound GetDate(FunctionCall&) {
    return Make("ms_now(0)", Plain(TypeId::DateTime), false);
}

Bound GetUtcDate(FunctionCall&) {
    return Make("ms_now(1)", Plain(TypeId::DateTime), false);
}

Bound SysDateTime(FunctionCall& c) {
    return Make(c.t.Converted(Make("ms_now(0)", Plain(TypeId::DateTime), false),
                              SqlType{TypeId::DateTime2, 0, 0, 7}),
                SqlType{TypeId::DateTime2, 0, 0, 7}, false);
}

Bound DateAdd(FunctionCall& c) {
    const int part = DatePartNumber(c.expr);
    const SqlType type = DateType(c.args[2]);
    return Make("ms_dateadd(" + std::to_string(part) + "," + c.As(1, Plain(TypeId::BigInt)) + "," +
                    c.As(2, type) + "," + std::to_string(engine::Pack(type)) + ")",
                type);
}

Bound DateDiff(FunctionCall& c) {
    const int part = DatePartNumber(c.expr);
    const SqlType x = DateType(c.args[1]);
    const SqlType y = DateType(c.args[2]);
    return Make("ms_datediff(" + std::to_string(part) + "," + c.As(1, x) + "," + c.As(2, y) + "," +
                    std::to_string(engine::Pack(x)) + "," + std::to_string(engine::Pack(y)) + ")",
                kIntType);
}

std::string PartSql(FunctionCall& c, int part, std::size_t argument, const char* function) {
    const SqlType type = DateType(c.args[argument]);
    return std::string(function) + "(" + std::to_string(part) + "," + c.As(argument, type) + "," +
           std::to_string(engine::Pack(type)) + ")";
}

Bound DatePart(FunctionCall& c) {
    return Make(PartSql(c, DatePartNumber(c.expr), 1, "ms_datepart"), kIntType);
}

Bound DateName(FunctionCall& c) {
    return Make(PartSql(c, DatePartNumber(c.expr), 1, "ms_datename"), NVarCharType(30));
}

Bound Year(FunctionCall& c) {
    return Make(PartSql(c, 0, 0, "ms_datepart"), kIntType);
}

Bound Month(FunctionCall& c) {
    return Make(PartSql(c, 2, 0, "ms_datepart"), kIntType);
}

Bound Day(FunctionCall& c) {
    return Make(PartSql(c, 4, 0, "ms_datepart"), kIntType);
}

}  // namespace

const FunctionTable& DateFunctionTable() {
    static const FunctionTable kTable = {
        {u"GETDATE", {0, 0, GetDate}},
        {u"CURRENT_TIMESTAMP", {0, 0, GetDate}},
        {u"GETUTCDATE", {0, 0, GetUtcDate}},
        {u"SYSDATETIME", {0, 0, SysDateTime}},
        {u"DATEADD", {3, 3, DateAdd}},
        {u"DATEDIFF", {3, 3, DateDiff}},
        {u"DATEPART", {2, 2, DatePart}},
        {u"DATENAME", {2, 2, DateName}},
        {u"YEAR", {1, 1, Year}},
        {u"MONTH", {1, 1, Month}},
        {u"DAY", {1, 1, Day}},
    };
    return kTable;
}

}  // namespace sandbox::engine
