#include "cli/Report.h"

#include "cli/JsonDocument.h"
#include "cli/Paths.h"
#include "cli/ReportAssets.h"
#include "cli/ReportCell.h"

namespace quillon {

namespace {

using namespace QuillonLib;

constexpr std::size_t RowsOfElement = 500;
constexpr std::size_t BytesOfElement = std::size_t{256} << 10;
constexpr std::size_t PieceSize = std::size_t{1} << 20;

// Nothing is fetched from anywhere, whatever the data holds.
constexpr std::string_view Head =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
    "'unsafe-inline'; script-src 'unsafe-inline'\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
    "<meta name=\"color-scheme\" content=\"light dark\">\n<title>Comparison</title>\n<style>\n";

constexpr std::string_view Body =
    "</style>\n</head>\n<body>\n<main id=\"report\"><p>This report is shown by a script, which has "
    "not run.</p></main>\n";

char LetterOf(DirectChange change) {
    switch (change) {
        case DirectChange::OnlyIn1:
            return '1';
        case DirectChange::OnlyIn2:
            return '2';
        default:
            return 'd';
    }
}

void WriteCells(JsonWriter& json, const DirectShape& shape, int side, const DirectRow& row) {
    json.BeginArray();
    for (std::size_t i = 0; i < row.size(); ++i)
        WriteCell(json, side == 1 ? shape.columns[i].side1 : shape.columns[i].side2, row[i]);
    json.EndArray();
}

// [positions of the columns that differ], [cells of 1], [cells of 2]
void WritePair(JsonWriter& json, const DirectDifference& found) {
    JsonWriter row2(JsonWriter::Layout::Line, JsonWriter::Target::Html);
    json.BeginArray();
    for (std::size_t i = 0; i < found.changed.size(); ++i) {
        if (found.changed[i]) json.Number(static_cast<std::int64_t>(i));
    }
    json.EndArray().BeginArray();
    row2.BeginArray();
    for (std::size_t i = 0; i < found.row1->size(); ++i)
        WriteCells(json, row2, found.shape.columns[i], (*found.row1)[i], (*found.row2)[i]);
    row2.EndArray();
    json.EndArray().Number(std::string_view(row2.Take()));
}

}  // namespace

Report::Report(const std::string& file, std::uint64_t limit) : file_(PathOf(file)), limit_(limit) {
    Write(Head);
    Write(ReportStyle);
    Write(Body);
}

void Report::Take(const DirectDifference& found) {
    if (found.change == DirectChange::Same) return;
    if (found.table != table_) EndElement();
    table_ = found.table;
    if (tables_.size() <= table_) tables_.resize(table_ + 1);
    Rows& rows = tables_[table_];
    ++rows.found;
    if (limit_ > 0 && rows.shown >= limit_) return;
    ++rows.shown;
    WriteRow(found);
    if (kinds_.size() >= RowsOfElement || rows_.size() >= BytesOfElement) EndElement();
}

void Report::WriteRow(const DirectDifference& found) {
    json_.BeginArray();
    if (found.change == DirectChange::Differs) {
        WritePair(json_, found);
    } else {
        const bool in1 = found.change == DirectChange::OnlyIn1;
        WriteCells(json_, found.shape, in1 ? 1 : 2, in1 ? *found.row1 : *found.row2);
    }
    json_.EndArray();
    rows_ += (rows_.empty() ? "" : ",\n") + json_.Take();
    kinds_ += LetterOf(found.change);
}

void Report::EndElement() {
    if (kinds_.empty()) return;
    Write("<script type=\"application/json\" class=\"rows\" data-table=\"" +
          std::to_string(table_) + "\" data-kinds=\"" + kinds_ + "\">[");
    Write(rows_);
    Write("]</script>\n");
    kinds_.clear();
    rows_.clear();
}

namespace {

const char* NameOf(PageScript::State state) {
    switch (state) {
        case PageScript::State::Whole:
            return "whole";
        case PageScript::State::TooLong:
            return "too-long";
        case PageScript::State::Nothing:
            return "nothing";
        case PageScript::State::Failed:
            break;
    }
    return "failed";
}

}  // namespace

// An element for each, so that a page that is opened reads no script that nobody asks for.
void Report::WriteScripts(const std::vector<PageScript>& scripts) {
    for (const PageScript& script : scripts) {
        JsonWriter json(JsonWriter::Layout::Line, JsonWriter::Target::Html);
        json.BeginObject().Name("to").Number(static_cast<std::int64_t>(script.side));
        json.Name("state").Text(NameOf(script.state));
        json.Name("rows").Number(static_cast<std::int64_t>(script.rows));
        json.Name("text").Text(script.text);
        json.Name("reason").Text(script.reason);
        json.Name("command").Text(script.command);
        WriteSentences(json, "leftOut", script.leftOut);
        json.EndObject();
        Write("<script type=\"application/json\" class=\"sql\">" + json.Take() + "</script>\n");
    }
}

void Report::Finish(const CompareResults& results, const std::vector<PageScript>& scripts) {
    EndElement();
    WriteScripts(scripts);
    tables_.resize(results.lines.size());
    std::vector<const ResultLine*> lines;
    for (const ResultLine& line : results.lines)
        lines.push_back(&line);
    JsonWriter json(JsonWriter::Layout::Line, JsonWriter::Target::Html);
    json.BeginObject().Name("limit").Number(static_cast<std::int64_t>(limit_));
    json.Name("results");
    WriteResults(json, results, lines);
    // What is said above it all: --accept-uncompared changes how a command ends, not what was
    // found.
    json.Name("found").Number(ExitCodeOf(results.All()));
    json.Name("rows").BeginArray();
    for (const Rows& rows : tables_) {
        json.BeginObject().Name("found").Number(static_cast<std::int64_t>(rows.found));
        json.Name("shown").Number(static_cast<std::int64_t>(rows.shown)).EndObject();
    }
    json.EndArray().EndObject();
    Write("<script type=\"application/json\" id=\"results\">" + json.Take() + "</script>\n");
    Write("<script>\n");
    Write(ReportScript);
    Write("</script>\n</body>\n</html>\n");
    file_.Write(out_);
    file_.Finish();
}

void Report::Write(std::string_view text) {
    out_ += text;
    if (out_.size() < PieceSize) return;
    file_.Write(out_);
    out_.clear();
}

}  // namespace quillon
