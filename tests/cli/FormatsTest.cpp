// The parts that JSON, CSV and Markdown are written with, and what rows and compare make of them.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "cli/CsvWriter.h"
#include "cli/JsonValue.h"
#include "cli/JsonWriter.h"
#include "cli/MarkdownText.h"
#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

using namespace QuillonLib;

std::string Json(std::u16string_view text, JsonWriter::Target target = JsonWriter::Target::Text) {
    JsonWriter json(JsonWriter::Layout::Line, target);
    json.Text(text);
    return json.Take();
}

std::string Json(const Value& value, ValueForm form = ValueForm::Plain) {
    JsonWriter json;
    WriteValue(json, value, form);
    return json.Take();
}

TEST(JsonWriterTest, EscapesWhatJsonAndTerminalsWouldObey) {
    EXPECT_EQ(Json(u"a\"b\\c/\n\r\t\b"), R"("a\"b\\c/\n\r\t\u0008")");
    EXPECT_EQ(Json(std::u16string(u"\0\x1F\x7F\x9B", 4)), R"("\u0000\u001f\u007f\u009b")");
    EXPECT_EQ(Json(u"\u2028\u2029\u202E\uFEFF"), R"("\u2028\u2029\u202e\ufeff")");
    EXPECT_EQ(Json(u"ä漢\U0001F600"), "\"ä漢\U0001F600\"");
}

TEST(JsonWriterTest, HalvesOfPairsAreCarriedAsEscapes) {
    const char16_t high = 0xD83D;
    const char16_t low = 0xDE00;
    EXPECT_EQ(Json(std::u16string{high}), R"("\ud83d")");
    EXPECT_EQ(Json(std::u16string{low, high}), R"("\ude00\ud83d")");
    EXPECT_EQ(Json(std::u16string{high, u'x', low}), R"("\ud83dx\ude00")");
    EXPECT_EQ(Json(u"\U000E0001"), R"("\udb40\udc01")");
}

TEST(JsonWriterTest, WithinHtmlNothingEndsTheElement) {
    EXPECT_EQ(Json(u"</script><!--", JsonWriter::Target::Html), R"("\u003c/script>\u003c!--")");
    EXPECT_EQ(Json(u"</script>"), "\"</script>\"");
}

TEST(JsonWriterTest, SeparatesMembersAndElements) {
    JsonWriter json;
    json.BeginObject().Name("a").Number(1).Name("b").BeginArray().Null().Boolean(false);
    json.BeginObject().EndObject().EndArray().Name("c").BeginArray().EndArray().EndObject();
    EXPECT_EQ(json.Take(), R"({"a":1,"b":[null,false,{}],"c":[]})");
    JsonWriter lines(JsonWriter::Layout::Lines);
    lines.BeginObject().Name("a").BeginArray().Number(1).Number(2).EndArray();
    lines.Name("b").BeginArray().EndArray().EndObject();
    EXPECT_EQ(lines.Take(), "{\n  \"a\": [\n    1,\n    2\n  ],\n  \"b\": []\n}");
}

TEST(JsonValueTest, NumbersThatADoubleHoldsAreNumbersAndOthersTexts) {
    EXPECT_EQ(Json(Value(true)), "true");
    EXPECT_EQ(Json(Value(std::uint8_t{255})), "255");
    EXPECT_EQ(Json(Value(std::int32_t{-5})), "-5");
    EXPECT_EQ(Json(Value(std::int64_t{5})), "\"5\"");
    EXPECT_EQ(Json(Value(Decimal("-0.10"))), "\"-0.10\"");
    EXPECT_EQ(Json(Value(Currency{-125000})), "\"-12.5\"");
    EXPECT_EQ(Json(Value(0.1)), "0.1");
    EXPECT_EQ(Json(Value(-0.0)), "-0E0");
    EXPECT_EQ(Json(Value(std::numeric_limits<double>::quiet_NaN())), "\"NaN\"");
    EXPECT_EQ(Json(Value(-std::numeric_limits<float>::infinity())), "\"-Infinity\"");
}

TEST(JsonValueTest, BytesAreBase64AndInAColumnOfTextAnObject) {
    const auto bytes = [](ByteArray each) { return Value(std::move(each)); };
    EXPECT_EQ(Json(bytes({}), ValueForm::Binary), "\"\"");
    EXPECT_EQ(Json(bytes({0xFF}), ValueForm::Binary), "\"/w==\"");
    EXPECT_EQ(Json(bytes({0xFB, 0xEF}), ValueForm::Binary), "\"++8=\"");
    EXPECT_EQ(Json(bytes({0, 1, 2}), ValueForm::Binary), "\"AAEC\"");
    EXPECT_EQ(Json(bytes({0x81}), FormOf(u"varchar")), R"({"base64":"gQ=="})");
    EXPECT_EQ(FormOf(u"image"), ValueForm::Binary);
}

TEST(JsonValueTest, OnlyMomentsBecomeIso) {
    const Value text(u"2024-01-15 13:45:30.1234560 +02:00");
    EXPECT_EQ(Json(text, FormOf(u"datetimeoffset")), "\"2024-01-15T13:45:30.1234560+02:00\"");
    EXPECT_EQ(Json(text, FormOf(u"nvarchar")), "\"2024-01-15 13:45:30.1234560 +02:00\"");
    EXPECT_EQ(Json(Value(u"2024-01-15 13:45:30.1"), FormOf(u"datetime2")),
              "\"2024-01-15T13:45:30.1\"");
}

TEST(CsvWriterTest, QuotesWhatNeedsItAndTellsNothingFromAnEmptyText) {
    CsvWriter csv;
    csv.Nothing().Text(u"").Text(u"a,b").Text(u"a\"b").Text(u"a\nb").Text(u" a").Text(u"a");
    csv.EndLine();
    csv.Number(-1).Nothing();
    csv.EndLine();
    EXPECT_EQ(csv.Take(), ",\"\",\"a,b\",\"a\"\"b\",\"a\nb\",\" a\",a\r\n-1,\r\n");
    EXPECT_THROW(csv.Text(std::u16string{0xD800}), std::runtime_error);
}

TEST(MarkdownTextTest, NothingIsMarkup) {
    EXPECT_EQ(MarkdownText("a|b*c_d`e`[f](g)"), "a\\|b\\*c\\_d\\`e\\`\\[f\\](g)");
    EXPECT_EQ(MarkdownText("<b>&amp;"), "&lt;b&gt;&amp;amp;");
    EXPECT_EQ(MarkdownText("a\r\nb\\"), "a\\\\r\\\\nb\\\\");
    EXPECT_EQ(MarkdownText("a   b"), "a &nbsp;&nbsp;b");
}

class FormatsTest : public TwoServers {};

TEST_F(FormatsTest, RowsInMarkdownAreTheListsOfTheTerminal) {
    RunOnFirst(u"UPDATE t SET name = 'a|b' WHERE id = 3");
    EXPECT_EQ(Direct("rows", {"t", "--format", "markdown"}).out,
              "**Different: 1**\n\n"
              "| | id | name | note |\n"
              "| --- | --- | --- | --- |\n"
              "| 1 | 2 | \\*Case | \\*long |\n"
              "| 2 | 2 | \\*'case ' | \\*LONG |\n\n"
              "**Only in " +
                  first +
                  ": 1**\n\n"
                  "| id | name | note |\n"
                  "| --- | --- | --- |\n"
                  "| 3 | a\\|b | NULL |\n\n"
                  "**Only in " +
                  second +
                  ": 1**\n\n"
                  "| id | name | note |\n"
                  "| --- | --- | --- |\n"
                  "| 4 | new | NULL |\n\n");
}

TEST_F(FormatsTest, TablesInMarkdown) {
    RunOnSecond(u"ALTER TABLE t ADD extra int NULL\nGO\nCREATE TABLE lone (a int)");
    EXPECT_EQ(Direct("compare", {"--format", "markdown"}).out,
              "1: " + first + "  \n2: " + second +
                  "\n\n"
                  "| Table | Rows in 1 | Rows in 2 | Identical | Differing | Only in 1 | Only in 2 "
                  "| Verdict |\n"
                  "| --- | ---: | ---: | ---: | ---: | ---: | ---: | --- |\n"
                  "| \\[dbo\\].\\[t\\] | 3 | 3 | 1 | 1 | 1 | 1 | different |\n\n"
                  "\\[dbo\\].\\[t\\]\n\n"
                  "- column \\[extra\\] only in 2\n"
                  "- changed cells: \\[name\\] 1, \\[note\\] 1\n\n"
                  "Only in " +
                  second +
                  "\n\n- \\[dbo\\].\\[lone\\]\n\n"
                  "**1 table: 0 identical, 1 different, 1 in one database only; left out: 1 "
                  "column**\n");
}

TEST_F(FormatsTest, RowsAsLinesBeginAndEnd) {
    const Outcome outcome = Direct("rows", {"t", "--format", "json", "--different"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(FirstLine(outcome.out), R"({"kind":"head","schema":"quillon.rows",)"));
    EXPECT_TRUE(Holds(outcome.out,
                      "\n"
                      R"({"kind":"different","changed":["name","note"],)"
                      R"("row1":{"id":2,"name":"Case","note":"long"},)"
                      R"("row2":{"id":2,"name":"case ","note":"LONG"}})"
                      "\n"
                      R"({"kind":"end","shown":{"identical":0,"different":1,"only-in-1":0,)"
                      R"("only-in-2":0},"counted":{"identical":1,"different":1,"only-in-1":1,)"
                      R"("only-in-2":1},"verdict":"different",)"
                      R"("notes":["changed cells: [name] 1, [note] 1"],)"
                      R"("notCompared":[],"exitCode":1})"
                      "\n"))
        << outcome.out;
}

TEST_F(FormatsTest, EachSideSpellsItsColumnsItsOwnWay) {
    RunOnFirst(u"CREATE TABLE s (Id int NOT NULL CONSTRAINT PK_s PRIMARY KEY, [a]]b] int)");
    RunOnSecond(u"CREATE TABLE s (ID int NOT NULL CONSTRAINT PK_s PRIMARY KEY, [A]]B] int)");
    RunOnBothServers(u"INSERT s VALUES (1, 1)");
    RunOnSecond(u"UPDATE s SET [A]]B] = 2");
    EXPECT_EQ(Direct("rows", {"s", "--format", "csv"}).out,
              "kind,side,changed,Id,a]b\r\n"
              "different,1,[a]]b],1,1\r\n"
              "different,2,[a]]b],1,2\r\n");
    const std::string lines = Direct("rows", {"s", "--format", "json"}).out;
    EXPECT_TRUE(Holds(lines, R"({"name":"Id","nameIn2":"ID","typeIn1":"int","typeIn2":"int",)"
                             R"("key":true})"))
        << lines;
    EXPECT_TRUE(
        Holds(lines, R"("changed":["a]b"],"row1":{"Id":1,"a]b":1},"row2":{"ID":1,"A]B":2})"))
        << lines;
}

TEST_F(FormatsTest, ATableOfOneSideHasNoRowsToWrite) {
    RunOnFirst(u"CREATE TABLE mine (a int)");
    const Outcome outcome = Direct("rows", {"mine", "--format", "json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(Holds(outcome.err, "only in " + first)) << outcome.err;
}

TEST_F(FormatsTest, LinesThatEndTooSoonHaveNoEnd) {
    server.AddFault({.kind = sandbox::FaultKind::ErrorAfterRows,
                     .contains = u"FROM [dbo].[t]",
                     .message = {.number = 50000, .text = u"made to fail"},
                     .rows = 2});
    const Outcome outcome = Direct("rows", {"t", "--format", "json"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_FALSE(Holds(outcome.out, R"("kind":"end")")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.err, "made to fail")) << outcome.err;
}

TEST_F(FormatsTest, NoPasswordStandsInADocument) {
    const Outcome outcome = Direct("compare", {"--format", "json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_FALSE(Holds(outcome.out, "\"sandbox\"")) << outcome.out;
    EXPECT_FALSE(Holds(outcome.out, "password"));
    EXPECT_TRUE(Holds(outcome.out, "\"database\": \"d\""));
}

}  // namespace
}  // namespace quillon
