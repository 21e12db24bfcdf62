#include "cli/CsvWriter.h"

#include <stdexcept>
#include <utility>

#include "core/Text.h"

namespace quillon {

CsvWriter& CsvWriter::Nothing() {
    Separate();
    return *this;
}

CsvWriter& CsvWriter::Text(std::u16string_view text) {
    if (!QuillonLib::IsUtf16(text)) {
        throw std::runtime_error(
            "the text holds half a surrogate pair, which CSV cannot carry; use --format json");
    }
    return Text(QuillonLib::ToUtf8(text));
}

CsvWriter& CsvWriter::Text(std::string_view utf8) {
    Separate();
    const bool edges = !utf8.empty() && (utf8.front() == ' ' || utf8.back() == ' ');
    if (!utf8.empty() && !edges && utf8.find_first_of("\",\r\n") == std::string_view::npos) {
        out_ += utf8;
        return *this;
    }
    out_ += '"';
    for (const char c : utf8) {
        if (c == '"') out_ += '"';
        out_ += c;
    }
    out_ += '"';
    return *this;
}

CsvWriter& CsvWriter::Number(std::int64_t number) {
    return Text(std::to_string(number));
}

void CsvWriter::EndLine() {
    out_ += "\r\n";
    first_ = true;
}

std::string CsvWriter::Take() {
    return std::exchange(out_, {});
}

void CsvWriter::Separate() {
    if (!std::exchange(first_, false)) out_ += ',';
}

}  // namespace quillon
