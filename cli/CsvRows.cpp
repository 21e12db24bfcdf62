// Rows as CSV: a differing row is two lines, one for each database.
#include <algorithm>
#include <map>
#include <stdexcept>

#include "cli/CsvWriter.h"
#include "cli/RowOutput.h"
#include "cli/ValueText.h"
#include "core/Text.h"

namespace quillon {

namespace {

using namespace QuillonLib;

std::u16string InBrackets(const std::u16string& name) {
    std::u16string text = u"[";
    for (const char16_t unit : name)
        text.append(unit == u']' ? 2 : 1, unit);
    return text + u"]";
}

class Writer : public RowOutput {
  public:
    explicit Writer(Console& console) : console_(console) {}

    void Begin(const RowsHead& head) override {
        csv_.Text(std::string_view("kind")).Text(std::string_view("side"));
        csv_.Text(std::string_view("changed"));
        for (const ComparedColumn& column : head.columns) {
            csv_.Text(column.name);
            columns_.emplace_back(column.name, column.name2);
        }
        EndLine();
    }

    void Row(const FoundRow& row) override {
        std::u16string changed;
        for (std::size_t i = 0; i < row.changed.size(); ++i) {
            if (row.changed[i]) changed += InBrackets((*row.in1->columns)[i].name);
        }
        if (row.in1) WriteRow(row.kind, 1, changed, *row.in1);
        if (row.in2) WriteRow(row.kind, 2, changed, *row.in2);
    }

    void End(const RowsEnd&) override {}

  private:
    void WriteRow(RowKind kind, int side, const std::u16string& changed, const SideRow& row) {
        csv_.Text(std::string_view(NameOf(kind))).Number(side);
        if (changed.empty()) {
            csv_.Nothing();
        } else {
            csv_.Text(changed);
        }
        for (const std::size_t field : FieldsOf(row, side)) {
            const Value& value = row.values[field];
            if (value.IsNull()) {
                csv_.Nothing();
            } else {
                Write(PlainText(value, (*row.columns)[field].type), (*row.columns)[field].name);
            }
        }
        EndLine();
    }
    void Write(const std::u16string& text, const std::u16string& column) {
        if (!IsUtf16(text)) {
            throw std::runtime_error("the text of [" + ToUtf8(column) +
                                     "] holds half a surrogate pair, which CSV cannot carry; use "
                                     "--format json");
        }
        csv_.Text(text);
    }
    // Where the head's columns stand in the row.
    const std::vector<std::size_t>& FieldsOf(const SideRow& row, int side) {
        auto [found, isNew] = fields_.try_emplace(row.columns);
        if (!isNew) return found->second;
        for (const auto& [name1, name2] : columns_) {
            const std::u16string& name = side == 1 ? name1 : name2;
            const auto column =
                std::find_if(row.columns->begin(), row.columns->end(),
                             [&](const RowColumn& each) { return each.name == name; });
            if (column == row.columns->end()) {
                throw std::runtime_error("column [" + ToUtf8(name) +
                                         "] has gone while the rows were read");
            }
            found->second.push_back(static_cast<std::size_t>(column - row.columns->begin()));
        }
        return found->second;
    }
    void EndLine() {
        csv_.EndLine();
        console_.PrintData(csv_.Take());
    }

    Console& console_;
    CsvWriter csv_;
    std::vector<std::pair<std::u16string, std::u16string>> columns_;  // as each side spells them
    std::map<const std::vector<RowColumn>*, std::vector<std::size_t>> fields_;
};

}  // namespace

std::unique_ptr<RowOutput> CsvRows(Console& console) {
    return std::make_unique<Writer>(console);
}

}  // namespace quillon
