// Rows as lines of JSON.
#include "cli/JsonDocument.h"
#include "cli/JsonValue.h"
#include "cli/RowOutput.h"

namespace quillon {

namespace {

constexpr RowKind Kinds[] = {RowKind::Identical, RowKind::Different, RowKind::OnlyIn1,
                             RowKind::OnlyIn2};

class Writer : public RowOutput {
  public:
    explicit Writer(Console& console) : console_(console) {}

    void Begin(const RowsHead& head) override {
        json_.BeginObject().Name("kind").Text("head");
        WriteCommonHead(json_, "quillon.rows", head.byServer, head.databases, head.watch,
                        head.loosened);
        json_.Name("table").Text(head.table);
        json_.Name("kinds").BeginArray();
        for (const RowKind kind : head.kinds)
            json_.Text(NameOf(kind));
        json_.EndArray();
        json_.Name("limit").NumberOrNull(head.limit > 0 ? std::optional<std::int64_t>(head.limit)
                                                        : std::nullopt);
        json_.Name("columns").BeginArray();
        for (const ComparedColumn& column : head.columns) {
            json_.BeginObject();
            WriteColumn(json_, column);
            json_.EndObject();
        }
        json_.EndArray();
        EndLine();
    }

    void Row(const FoundRow& row) override {
        json_.BeginObject().Name("kind").Text(NameOf(row.kind));
        if (row.kind == RowKind::Different) {
            json_.Name("changed").BeginArray();
            for (std::size_t i = 0; i < row.changed.size(); ++i) {
                if (row.changed[i]) json_.Text((*row.in1->columns)[i].name);
            }
            json_.EndArray();
        }
        if (row.in1) WriteRow("row1", *row.in1);
        if (row.in2) WriteRow("row2", *row.in2);
        EndLine();
    }

    void End(const RowsEnd& end) override {
        json_.BeginObject().Name("kind").Text("end");
        json_.Name("shown").BeginObject();
        for (const RowKind kind : Kinds)
            json_.Name(NameOf(kind)).Number(end.shown.at(static_cast<std::size_t>(kind)));
        json_.EndObject().Name("counted").BeginObject();
        for (const RowKind kind : Kinds)
            json_.Name(NameOf(kind)).NumberOrNull(end.counted.at(static_cast<std::size_t>(kind)));
        json_.EndObject().Name("verdict");
        if (end.whole) {
            json_.Text(NameOf(end.verdict.kind));
        } else {
            json_.Null();
        }
        WriteSentences(json_, "notes", end.verdict.drift);
        WriteSentences(json_, "notCompared", end.verdict.notCompared);
        json_.Name("exitCode").Number(end.exitCode);
        EndLine();
    }

  private:
    void WriteRow(const char* name, const SideRow& row) {
        json_.Name(name).BeginObject();
        for (std::size_t i = 0; i < row.values.size(); ++i) {
            const RowColumn& column = (*row.columns)[i];
            json_.Name(column.name);
            WriteValue(json_, row.values[i], FormOf(column.type));
        }
        json_.EndObject();
    }
    void EndLine() {
        json_.EndObject();
        console_.PrintData(json_.Take() + "\n");
    }

    Console& console_;
    JsonWriter json_;
};

}  // namespace

std::unique_ptr<RowOutput> JsonRows(Console& console) {
    return std::make_unique<Writer>(console);
}

}  // namespace quillon
