// The results of a comparison as a JSON document.
#include <cstdio>
#include <optional>

#include "cli/CompareResults.h"
#include "cli/JsonDocument.h"

namespace quillon {

namespace {

using namespace QuillonLib;

std::optional<std::int64_t> Known(std::int64_t number, bool known) {
    return known ? std::optional(number) : std::nullopt;
}

void WriteTextOrNull(JsonWriter& json, const std::string& text) {
    if (text.empty()) {
        json.Null();
    } else {
        json.Text(text);
    }
}

void WriteCounts(JsonWriter& json, const ResultLine& line) {
    const Verdict& verdict = line.verdict;
    const bool counted = verdict.kind != Verdict::Kind::Failed;
    const bool matched = verdict.rowsMatched;
    json.Name("rowsIn1").NumberOrNull(Known(line.rows1, counted));
    json.Name("rowsIn2").NumberOrNull(Known(line.rows2, counted));
    json.Name("identical").NumberOrNull(Known(verdict.identical, matched));
    json.Name("differing").NumberOrNull(Known(line.differing, verdict.hasKey));
    json.Name("onlyIn1").NumberOrNull(Known(verdict.onlyIn1, matched));
    json.Name("onlyIn2").NumberOrNull(Known(verdict.onlyIn2, matched));
}

void WriteKey(JsonWriter& json, const Verdict& verdict) {
    json.Name("key");
    if (!verdict.key) {
        json.Null();
        return;
    }
    json.BeginArray();
    for (const std::u16string& name : *verdict.key)
        json.Text(name);
    json.EndArray();
}

void WriteColumns(JsonWriter& json, const Verdict& verdict) {
    json.Name("columns");
    if (!verdict.columns) {
        json.Null();
        return;
    }
    json.BeginArray();
    for (const ComparedColumn& column : *verdict.columns) {
        json.BeginObject();
        WriteColumn(json, column);
        json.Name("changedCells").NumberOrNull(column.changedCells);
        json.EndObject();
    }
    json.EndArray();
}

void WriteLeftOut(JsonWriter& json, const Verdict& verdict) {
    json.Name("columnsNotCompared").BeginArray();
    for (const ColumnLeftOut& column : verdict.leftOut) {
        json.BeginObject();
        json.Name("name").Text(column.name).Name("why").Text(column.why);
        json.Name("reason");
        WriteTextOrNull(json, column.reason);
        json.EndObject();
    }
    json.EndArray();
}

void WriteDrift(JsonWriter& json, const Verdict& verdict) {
    json.Name("drift").BeginArray();
    for (const DeclaredDifference& drift : verdict.differences) {
        json.BeginObject().Name("what").Text(drift.what).Name("column");
        if (drift.column.empty()) {
            json.Null();
        } else {
            json.Text(drift.column);
        }
        json.Name("in1");
        WriteTextOrNull(json, drift.in1);
        json.Name("in2");
        WriteTextOrNull(json, drift.in2);
        json.EndObject();
    }
    json.EndArray();
}

void WriteError(JsonWriter& json, const ResultLine& line) {
    json.Name("error");
    if (line.error.empty()) {
        json.Null();
        return;
    }
    json.BeginObject().Name("number");
    json.NumberOrNull(line.errorNumber);
    json.Name("side").NumberOrNull(Known(line.errorSide, line.errorSide != 0));
    json.Name("text").Text(line.error).EndObject();
}

void WriteTable(JsonWriter& json, const ResultLine& line) {
    const Verdict& verdict = line.verdict;
    json.BeginObject();
    json.Name("table").Text(line.entry).Name("view").Boolean(line.view);
    json.Name("verdict").Text(NameOf(verdict.kind)).Name("says").Text(verdict.text);
    WriteCounts(json, line);
    WriteKey(json, verdict);
    WriteColumns(json, verdict);
    WriteLeftOut(json, verdict);
    json.Name("condition");
    WriteTextOrNull(json, line.condition);
    WriteDrift(json, verdict);
    WriteSentences(json, "notes", verdict.drift);
    WriteSentences(json, "notCompared", verdict.notCompared);
    WriteError(json, line);
    json.EndObject();
}

void WriteEntries(JsonWriter& json, const char* name, const std::vector<std::u16string>& entries) {
    json.Name(name).BeginArray();
    for (const std::u16string& entry : entries)
        json.Text(entry);
    json.EndArray();
}

void WriteTotals(JsonWriter& json, const CompareResults& results) {
    const Totals totals = results.All();
    const auto number = [&](const char* name, std::size_t count) {
        json.Name(name).Number(static_cast<std::int64_t>(count));
    };
    json.Name("totals").BeginObject();
    number("tables", totals.tables);
    number("identical", totals.Of(Verdict::Kind::Identical));
    number("different", totals.Of(Verdict::Kind::Different));
    number("notWhole", totals.Of(Verdict::Kind::NotWhole));
    number("failed", totals.Of(Verdict::Kind::Failed));
    number("onlyIn1", results.tables.onlyIn1.size());
    number("onlyIn2", results.tables.onlyIn2.size());
    number("columnsNotCompared", totals.columnsNotCompared);
    json.EndObject();
}

void WriteDatabases(JsonWriter& json, const DatabaseOptions::Databases& databases) {
    json.Name("databases").BeginArray();
    for (const auto& database : {databases.obDB1, databases.obDB2}) {
        json.BeginObject();
        json.Name("server").Text(database->Server());
        json.Name("database").Text(database->DatabaseName());
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

void WriteSentences(JsonWriter& json, const char* name, const std::vector<std::string>& sentences) {
    json.Name(name).BeginArray();
    for (const std::string& sentence : sentences)
        json.Text(sentence);
    json.EndArray();
}

void WriteColumn(JsonWriter& json, const ComparedColumn& column) {
    json.Name("name").Text(column.name).Name("nameIn2").Text(column.name2);
    json.Name("typeIn1");
    WriteTextOrNull(json, column.type1);
    json.Name("typeIn2");
    WriteTextOrNull(json, column.type2);
    json.Name("key").Boolean(column.key);
}

void WriteCommonHead(JsonWriter& json, const char* schema, bool byServer,
                     const DatabaseOptions::Databases& databases, const Stopwatch& watch,
                     const std::string& loosened) {
    json.Name("schema").Text(schema).Name("version").Number(JsonVersion);
    json.Name("road").Text(byServer ? "by-server" : "direct");
    WriteDatabases(json, databases);
    json.Name("started").Text(watch.Started());
    json.Name("loosened");
    WriteTextOrNull(json, loosened);
}

void WriteResults(JsonWriter& json, const CompareResults& results,
                  const std::vector<const ResultLine*>& lines) {
    char seconds[32];
    (void)std::snprintf(seconds, sizeof seconds, "%.3f", results.watch.Seconds());
    json.BeginObject();
    WriteCommonHead(json, "quillon.compare", results.byServer, results.databases, results.watch,
                    results.loosened);
    json.Name("seconds").Number(std::string_view(seconds));
    json.Name("tables").BeginArray();
    for (const ResultLine* line : lines)
        WriteTable(json, *line);
    json.EndArray();
    WriteEntries(json, "onlyIn1", results.tables.onlyIn1);
    WriteEntries(json, "onlyIn2", results.tables.onlyIn2);
    WriteTotals(json, results);
    json.Name("exitCode").Number(results.exitCode);
    json.EndObject();
}

std::string JsonOf(const CompareResults& results) {
    JsonWriter json(JsonWriter::Layout::Lines);
    WriteResults(json, results, results.Shown());
    return json.Take() + "\n";
}

}  // namespace quillon
