#include "templates/XmlText.h"

#include <array>
#include <new>
#include <utility>

#include "core/Text.h"
#include "templates/EncodedText.h"
#include "templates/ExpatParser.h"

namespace QuillonLib {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";

void OnDeclaration(void* name, const XML_Char*, const XML_Char* encoding, int) {
    if (encoding != nullptr) *static_cast<std::string*>(name) = encoding;
}

// The encoding that a declaration names; empty where it names none or there is none. It is written
// in ASCII, so that any encoding that begins with ASCII serves for reading it.
std::string DeclaredEncoding(std::string_view bytes) {
    constexpr std::string_view End = "?>";
    const std::size_t end = bytes.find(End);
    if (!bytes.starts_with("<?xml") || end == std::string_view::npos) return {};
    const std::string declaration(bytes.substr(0, end + End.size()));
    const ExpatParser parser(XML_ParserCreate("ISO-8859-1"));
    if (parser == nullptr) throw std::bad_alloc();
    std::string name;
    XML_SetUserData(parser.get(), &name);
    XML_SetXmlDeclHandler(parser.get(), OnDeclaration);
    constexpr std::size_t Longest = 1000;  // that of a sane one
    if (declaration.size() > Longest) return {};
    XML_Parse(parser.get(), declaration.data(), static_cast<int>(declaration.size()), 0);
    return name;
}

struct Start {
    std::string_view bytes;
    bool highFirst;
};
constexpr std::array Starts{Start{"\xFF\xFE"sv, false}, Start{"\xFE\xFF"sv, true},
                            Start{"<\0"sv, false}, Start{"\0<"sv, true}};

std::u16string UnitsOf(std::string_view bytes, bool highFirst) {
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        units[i] = static_cast<char16_t>(highFirst ? first << 8 | second : second << 8 | first);
    }
    return units;
}

XmlText ReadUtf16(std::string_view bytes, bool highFirst) {
    const std::u16string units = UnitsOf(bytes, highFirst);
    if (bytes.size() % 2 != 0 || !IsUtf16(units)) {
        return {{}, highFirst ? "it holds what is not UTF-16BE" : "it holds what is not UTF-16LE"};
    }
    std::string text = ToUtf8(units);
    if (text.starts_with(Utf8Mark)) text.erase(0, Utf8Mark.size());
    return {std::move(text), {}};
}

XmlText ReadUtf8(std::string bytes) {
    if (!IsUtf8(bytes)) return {{}, "it is not UTF-8, and declares nothing else"};
    if (bytes.starts_with(Utf8Mark)) bytes.erase(0, Utf8Mark.size());
    return {std::move(bytes), {}};
}

XmlText ReadEncoded(std::string_view bytes, const std::string& encoding) {
    const auto text = DecodeText(bytes, encoding);
    if (!text) return {{}, "it holds what is not " + encoding};
    return {ToUtf8(*text), {}};
}

}  // namespace

XmlText DecodeXml(std::string bytes) {
    if (bytes.starts_with(Utf8Mark)) return ReadUtf8(std::move(bytes));
    for (const Start& start : Starts) {
        if (bytes.starts_with(start.bytes)) return ReadUtf16(bytes, start.highFirst);
    }
    const std::string encoding = DeclaredEncoding(bytes);
    if (encoding.empty()) return ReadUtf8(std::move(bytes));
    switch (KindOfEncoding(encoding)) {
        case EncodingKind::Unknown:
            return {{}, "its encoding " + encoding + " is not known"};
        case EncodingKind::Bytes:
            return ReadEncoded(bytes, encoding);
        case EncodingKind::Unicode:
            break;
    }
    // It has neither a mark nor the form of UTF-16, so it can only be UTF-8: programs that save a
    // text in another encoding forget the declaration.
    return ReadUtf8(std::move(bytes));
}

}  // namespace QuillonLib
