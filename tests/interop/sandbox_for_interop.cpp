// A server for clients in other languages: prints its port, and serves until its standard input
// ends. Its batches are fixed; "types" returns one row with every type and one of NULLs.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "sandbox/wire/WireServer.h"
#include "tests/sandbox/wire/FakeBackend.h"

namespace sandbox::wire {
namespace {

constexpr std::int64_t kDay = 864'000'000'000;        // in 100 ns
constexpr std::int64_t kJanuary = 738'899;            // 2024-01-15
constexpr std::int64_t kAfternoon = 495'301'234'560;  // 13:45:30.1234560
constexpr std::int64_t kMorning = 423'301'234'560;    // 11:45:30.1234560

struct Field {
    std::u16string name;
    SqlType type;
    Cell cell;
};

std::vector<Field> Fields() {
    return {
        {u"bit", {TypeId::Bit}, Integer(1)},
        {u"tinyint", {TypeId::TinyInt}, Integer(255)},
        {u"smallint", {TypeId::SmallInt}, Integer(-32768)},
        {u"int", {TypeId::Int}, Integer(-2147483648LL)},
        {u"bigint", {TypeId::BigInt}, Integer(INT64_MIN)},
        {u"decimal", {TypeId::Decimal, 0, 38, 10}, Big(-12345678901LL)},
        {u"numeric", {TypeId::Numeric, 0, 5, 0}, Big(7)},
        {u"money", {TypeId::Money}, Integer(-15000)},
        {u"smallmoney", {TypeId::SmallMoney}, Integer(15000)},
        {u"float", {TypeId::Float}, Number(0.1)},
        {u"real", {TypeId::Real}, Number(-0.25)},
        {u"datetime", {TypeId::DateTime}, Integer(45304LL * 25'920'000 + 14'859'036)},
        {u"smalldatetime", {TypeId::SmallDateTime}, Integer(45304 * 1440 + 825)},
        {u"date", {TypeId::Date}, Integer(kJanuary)},
        {u"time", {TypeId::Time, 0, 0, 7}, Integer(kAfternoon)},
        {u"datetime2", {TypeId::DateTime2, 0, 0, 7}, Integer(kJanuary * kDay + kAfternoon)},
        {u"datetimeoffset",
         {TypeId::DateTimeOffset, 0, 0, 7},
         WithOffset(Integer(kJanuary * kDay + kMorning), 120)},
        {u"char", {TypeId::Char, 4}, Text(u"\u20ac\u00e9  ")},
        {u"varchar", {TypeId::VarChar, 20}, Text(u"a\u6f22b")},
        {u"text", {TypeId::Text}, Text(u"\u20ac")},
        {u"nchar", {TypeId::NChar, 2}, Text(u"\u6f22 ")},
        {u"nvarchar", {TypeId::NVarChar, 20}, Text(u"\u6f22\U0001F600")},
        {u"ntext", {TypeId::NText}, Text(u"\u6f22")},
        {u"varcharmax", {TypeId::VarChar, -1}, Text(u"\u20ac")},
        {u"nvarcharmax", {TypeId::NVarChar, -1}, Text(u"\u6f22")},
        {u"xml", {TypeId::Xml}, Text(u"<a>\u6f22</a>")},
        {u"binary", {TypeId::Binary, 2}, Binary("ab")},
        {u"varbinary", {TypeId::VarBinary, 9}, Binary("\xFF")},
        {u"varbinarymax", {TypeId::VarBinary, -1}, Binary("\x01")},
        {u"image", {TypeId::Image}, Binary("\x02")},
        {u"timestamp", {TypeId::Timestamp}, Binary("12345678")},
        {u"uniqueidentifier", {TypeId::UniqueIdentifier}, Binary("0123456789abcdef")},
        {u"variantint", {TypeId::SqlVariant}, As(Integer(5), {TypeId::Int})},
        {u"variantdecimal", {TypeId::SqlVariant}, As(Big(12345), {TypeId::Decimal, 0, 5, 2})},
        {u"variantchar", {TypeId::SqlVariant}, As(Text(u"\u20ac"), {TypeId::VarChar, 3})},
        {u"variantnchar", {TypeId::SqlVariant}, As(Text(u"\u6f22"), {TypeId::NVarChar, 3})},
        {u"variantbinary", {TypeId::SqlVariant}, As(Binary("a"), {TypeId::VarBinary, 3})},
        {u"variantguid",
         {TypeId::SqlVariant},
         As(Binary("0123456789abcdef"), {TypeId::UniqueIdentifier})},
        {u"variantdatetime", {TypeId::SqlVariant}, As(Integer(0), {TypeId::DateTime})},
        {u"varianttime", {TypeId::SqlVariant}, As(Integer(kAfternoon), {TypeId::Time, 0, 0, 6})},
    };
}

void SendTypes(ResultSink& sink) {
    std::vector<ColumnInfo> columns;
    std::vector<Cell> cells;
    for (const Field& field : Fields()) {
        columns.push_back(Column(field.name, field.type));
        cells.push_back(field.cell);
    }
    sink.Columns(columns);
    sink.Row(cells.data());
    const std::vector<Cell> nulls(cells.size());
    sink.Row(nulls.data());
    sink.StatementDone(2, true, false);
}

void SendNumbers(ResultSink& sink, int count, bool fail) {
    sink.Columns({Column(u"n", {TypeId::Int})});
    for (int n = 0; n < count; ++n) {
        const Cell cell = Integer(n);
        if (!sink.Row(&cell)) return;
    }
    if (fail) sink.Say(Error(8134, u"Divide by zero error encountered."));
    sink.StatementDone(fail ? std::nullopt : std::optional<std::int64_t>(count), true, fail);
}

void AddBatches(FakeBackend& backend) {
    backend.On(u"types", [](ResultSink& sink, const auto&) { SendTypes(sink); });
    backend.On(u"numbers",
               [](ResultSink& sink, const auto&) { SendNumbers(sink, 100'000, false); });
    backend.On(u"numbers and an error",
               [](ResultSink& sink, const auto&) { SendNumbers(sink, 10, true); });
    backend.On(u"endless numbers",
               [](ResultSink& sink, const auto&) { SendNumbers(sink, INT32_MAX, false); });
    backend.On(u"several", [](ResultSink& sink, const auto&) {
        sink.StatementDone(3, false, false);
        SendNumbers(sink, 2, false);
        SendNumbers(sink, 3, false);
    });
    backend.On(u"long", [](ResultSink& sink, const auto&) {
        static const std::u16string text(500'000, u'\u20ac');
        sink.Columns({Column(u"a", {TypeId::NVarChar, -1}), Column(u"b", {TypeId::VarChar, -1}),
                      Column(u"c", {TypeId::NText}), Column(u"d", {TypeId::Text})});
        const Cell row[] = {Text(text), Text(text), Text(text), Text(text)};
        sink.Row(row);
        sink.StatementDone(1, true, false);
    });
    // What a client's call of sp_executesql with parameters amounts to.
    backend.On(
        u"DECLARE @P1 INT, @P2 NVARCHAR(MAX) SET @P1=7 SET @P2=N'it''s \u6f22' "
        u"parameters @P1 @P2",
        [](ResultSink& sink, const auto&) { SendNumbers(sink, 1, false); });
}

}  // namespace
}  // namespace sandbox::wire

int main() {
    using namespace sandbox::wire;
    FakeBackend backend;
    AddBatches(backend);
    WireServer server;
    server.Serve(backend);
    std::printf("%d\n", static_cast<int>(server.Port()));
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
}
