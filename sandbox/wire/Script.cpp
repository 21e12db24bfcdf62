#include "Script.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <stdexcept>

#include "TextForms.h"

namespace sandbox::wire {

namespace {

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\r';
}

std::u16string_view TrimBlanks(std::u16string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

// How often a line asks for the batch above it to run; nothing when it is not a GO line.
std::optional<int> GoCount(std::u16string_view line) {
    line = TrimBlanks(line);
    if (line.size() < 2 || (line[0] | 0x20) != u'g' || (line[1] | 0x20) != u'o') return {};
    if (line.size() == 2) return 1;
    if (!IsBlank(line[2])) return {};
    const std::u16string_view digits = TrimBlanks(line.substr(2));
    if (digits.size() > 6 || !std::ranges::all_of(digits, IsDigit)) return {};
    int count = 0;
    for (const char16_t digit : digits)
        count = count * 10 + (digit - u'0');
    return count;
}

bool IsEmpty(std::u16string_view batch) {
    return std::ranges::all_of(batch, [](char16_t c) { return IsBlank(c) || c == u'\n'; });
}

// For messages only: what is not ASCII shows as UTF-8 where it can.
std::string ToUtf8(std::u16string_view text) {
    std::string utf8;
    for (std::size_t n = 0; n < text.size(); ++n) {
        char32_t c = text[n];
        const bool pair = c >= 0xD800 && c < 0xDC00 && n + 1 < text.size() &&
                          text[n + 1] >= 0xDC00 && text[n + 1] < 0xE000;
        if (pair) c = 0x10000 + ((c - 0xD800) << 10) + (text[++n] - 0xDC00);
        if (c < 0x80) {
            utf8 += static_cast<char>(c);
        } else if (c < 0x800) {
            utf8 += static_cast<char>(0xC0 | c >> 6);
            utf8 += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            utf8 += static_cast<char>(0xE0 | c >> 12);
            utf8 += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            utf8 += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            utf8 += static_cast<char>(0xF0 | c >> 18);
            utf8 += static_cast<char>(0x80 | (c >> 12 & 0x3F));
            utf8 += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            utf8 += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return utf8;
}

std::string Describe(const Message& message) {
    return "Msg " + std::to_string(message.number) + ", Level " + std::to_string(message.severity) +
           ", State " + std::to_string(message.state) + ", Line " + std::to_string(message.line) +
           ": " + ToUtf8(message.text);
}

// Keeps the first error and the first field.
class CollectingSink : public ResultSink {
  public:
    void Columns(const std::vector<ColumnInfo>& columns) override { columns_ = columns; }

    bool Row(const Cell* cells) override {
        if (!scalar_ && !columns_.empty()) scalar_ = CellText(columns_.front().type, cells[0]);
        return true;
    }

    void StatementDone(std::optional<std::int64_t>, bool, bool) override {}

    void Say(const Message& message) override {
        if (message.severity > 10 && !error_) error_ = message;
    }

    void DatabaseChanged(const std::u16string&, const std::u16string&) override {}

    const std::optional<Message>& Error() const { return error_; }
    std::u16string Scalar() const { return scalar_.value_or(u""); }

  private:
    std::vector<ColumnInfo> columns_;
    std::optional<std::u16string> scalar_;
    std::optional<Message> error_;
};

std::unique_ptr<Session> LogIn(Backend& backend, const LoginRequest& login) {
    try {
        return backend.Login(login);
    } catch (const LoginRefused& refused) {
        throw std::runtime_error(Describe(refused.message));
    }
}

std::u16string RunBatch(Session& session, std::u16string_view batch) {
    const std::atomic<bool> cancelled{false};
    CollectingSink sink;
    session.Execute(batch, sink, cancelled);
    if (sink.Error()) {
        throw std::runtime_error(Describe(*sink.Error()) + "\n" + ToUtf8(batch));
    }
    return sink.Scalar();
}

}  // namespace

std::vector<std::u16string_view> SplitScript(std::u16string_view script) {
    std::vector<std::u16string_view> batches;
    std::size_t start = 0;
    std::size_t line = 0;
    const auto add = [&](std::size_t end, int count) {
        const std::u16string_view batch = script.substr(start, end - start);
        if (!IsEmpty(batch)) batches.insert(batches.end(), static_cast<std::size_t>(count), batch);
    };
    while (line < script.size()) {
        const std::size_t end = std::min(script.find(u'\n', line), script.size());
        if (const std::optional<int> count = GoCount(script.substr(line, end - line))) {
            add(line, *count);
            start = end + 1;
        }
        line = end + 1;
    }
    if (start < script.size()) add(script.size(), 1);
    return batches;
}

void RunScript(Backend& backend, const LoginRequest& login, std::u16string_view script) {
    const std::unique_ptr<Session> session = LogIn(backend, login);
    for (const std::u16string_view batch : SplitScript(script))
        RunBatch(*session, batch);
}

std::u16string RunScalar(Backend& backend, const LoginRequest& login, std::u16string_view batch) {
    return RunBatch(*LogIn(backend, login), batch);
}

}  // namespace sandbox::wire
