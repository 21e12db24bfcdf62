#include "cli/RowOutput.h"

#include <algorithm>

namespace quillon {

const char* NameOf(RowKind kind) {
    switch (kind) {
        case RowKind::Identical:
            return "identical";
        case RowKind::Different:
            return "different";
        case RowKind::OnlyIn1:
            return "only-in-1";
        case RowKind::OnlyIn2:
            break;
    }
    return "only-in-2";
}

std::unique_ptr<RowOutput> RowsAs(OutputFormat format, Console& console, const RowLayout& layout) {
    if (format == OutputFormat::Json) return JsonRows(console);
    if (format == OutputFormat::Csv) return CsvRows(console);
    return ListedRows(console, format == OutputFormat::Markdown, layout);
}

bool RowSelection::Take(RowKind kind) {
    if (std::find(kinds_.begin(), kinds_.end(), kind) == kinds_.end()) return false;
    std::int64_t& shown = shown_.at(static_cast<std::size_t>(kind));
    if (limit_ > 0 && shown >= limit_) return false;
    ++shown;
    return true;
}

bool RowSelection::IsFull() const {
    return limit_ > 0 && std::all_of(kinds_.begin(), kinds_.end(), [this](RowKind kind) {
               return shown_.at(static_cast<std::size_t>(kind)) >= limit_;
           });
}

}  // namespace quillon
