#include "EngineBox.h"

#include <cstdio>

namespace sandbox::testing {
namespace {

std::string Hex(const std::uint8_t* data, std::size_t size) {
    std::string out = "0x";
    char digits[4];
    for (std::size_t i = 0; i < size; ++i) {
        std::snprintf(digits, sizeof digits, "%02X", data[i]);
        out += digits;
    }
    return out;
}

std::string Scaled(Int128 value, int scale) {
    const bool negative = value < 0;
    if (negative) value = -value;
    std::string digits;
    do {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(value % 10)));
        value /= 10;
    } while (value != 0);
    while (static_cast<int>(digits.size()) <= scale)
        digits.insert(digits.begin(), '0');
    if (scale > 0) digits.insert(digits.size() - static_cast<std::size_t>(scale), ".");
    return (negative ? "-" : "") + digits;
}

std::string Render(const Cell& cell, const SqlType& type) {
    if (cell.null) return "NULL";
    switch (type.id) {
        case TypeId::Decimal:
        case TypeId::Numeric:
            return Scaled(cell.big, type.scale);
        case TypeId::Money:
        case TypeId::SmallMoney:
            return Scaled(cell.i, 4);
        case TypeId::Float:
        case TypeId::Real: {
            char buffer[40];
            std::snprintf(buffer, sizeof buffer, "%.17g", cell.d);
            return buffer;
        }
        case TypeId::DateTimeOffset:
            return std::to_string(cell.i) + "z" + std::to_string(cell.offset);
        case TypeId::Char:
        case TypeId::VarChar:
        case TypeId::Text:
        case TypeId::NChar:
        case TypeId::NVarChar:
        case TypeId::NText:
        case TypeId::Xml:
            return Utf8({reinterpret_cast<const char16_t*>(cell.data), cell.size / 2});
        case TypeId::Binary:
        case TypeId::VarBinary:
        case TypeId::Image:
        case TypeId::Timestamp:
            return Hex(cell.data, cell.size);
        case TypeId::UniqueIdentifier:
            return Hex(cell.data, 16);
        case TypeId::SqlVariant:
            return "variant:" + Render(cell, cell.variantType);
        default:
            return std::to_string(cell.i);
    }
}

class TextSink : public ResultSink {
  public:
    Result result;

    void Columns(const std::vector<ColumnInfo>& columns) override { result.columns = columns; }

    bool Row(const Cell* cells) override {
        ++result.rows;
        std::string line;
        for (std::size_t i = 0; i < result.columns.size(); ++i) {
            const SqlType& type = result.columns[i].type;
            if (i > 0) line += "|";
            line += Render(cells[i], type);
            if (cells[i].null || cells[i].data == nullptr) continue;
            result.cells.emplace_back(reinterpret_cast<const char16_t*>(cells[i].data),
                                      cells[i].size / 2);
            result.bytes.emplace_back(reinterpret_cast<const char*>(cells[i].data), cells[i].size);
        }
        result.text += line + "\n";
        return true;
    }

    void StatementDone(std::optional<std::int64_t> count, bool isSelect, bool error) override {
        if (!isSelect && !error && count) result.text += "#" + std::to_string(*count) + "\n";
    }

    void Say(const Message& m) override {
        if (m.severity <= 10) {
            result.text += ">" + Utf8(m.text) + "\n";
            return;
        }
        result.text += "!" + std::to_string(m.number) + " " + Utf8(m.text) + "\n";
        result.errors.push_back(m);
    }

    void DatabaseChanged(const std::u16string&, const std::u16string& to) override {
        result.text += "@" + Utf8(to) + "\n";
    }
};

}  // namespace

std::string Utf8(std::u16string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        const bool pair = c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() &&
                          text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        if (pair) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00U);
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

Client::Client(Backend& backend, std::u16string_view database, std::u16string_view user,
               std::u16string_view password) {
    LoginRequest request;
    request.user = user;
    request.password = password;
    request.database = database;
    session_ = backend.Login(request);
}

Result Client::Run(std::u16string_view batch) {
    TextSink sink;
    const std::atomic<bool> cancelled{false};
    session_->Execute(batch, sink, cancelled);
    return std::move(sink.result);
}

std::int32_t Client::ErrorOf(std::u16string_view batch) {
    const Result result = Run(batch);
    return result.errors.empty() ? 0 : result.errors[0].number;
}

Result Client::RunInScope(std::u16string_view batch) {
    TextSink sink;
    const std::atomic<bool> cancelled{false};
    session_->ExecuteInScope(batch, sink, cancelled);
    return std::move(sink.result);
}

Box::Box(std::string version) {
    EngineSettings settings;
    settings.version = std::move(version);
    backend = host.AddServer(settings);
    Client(*backend).Run(u"CREATE DATABASE w");
    client = std::make_unique<Client>(*backend, u"w");
}

}  // namespace sandbox::testing
