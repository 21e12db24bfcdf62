#include "templates/XmlText.h"

#include <expat.h>
#include <unicode/ucnv.h>

#include <array>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "core/Text.h"

namespace QuillonLib {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view Utf8 = "UTF-8";

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// Null for an encoding that ICU does not know. The converter stops at what has no meaning.
Converter OpenConverter(const std::string& encoding) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(encoding.c_str(), &status));
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    if (U_FAILURE(status)) return nullptr;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    return U_SUCCESS(status) ? std::move(converter) : nullptr;
}

struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser>;

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
    const Parser parser(XML_ParserCreate("ISO-8859-1"));
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
    std::string_view encoding;
};
constexpr std::array Starts{Start{"\xFF\xFE"sv, "UTF-16LE"}, Start{"\xFE\xFF"sv, "UTF-16BE"},
                            Start{"<\0"sv, "UTF-16LE"}, Start{"\0<"sv, "UTF-16BE"}};

XmlText Convert(std::string_view bytes, const std::string& encoding) {
    const Converter converter = OpenConverter(encoding);
    if (converter == nullptr) return {{}, "its encoding " + encoding + " is not known"};
    std::u16string text;
    std::array<char16_t, 4096> piece{};
    const char* from = bytes.data();
    UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
    while (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        char16_t* to = piece.data();
        ucnv_toUnicode(converter.get(), &to, to + piece.size(), &from, bytes.data() + bytes.size(),
                       nullptr, 1, &status);
        text.append(piece.data(), to);
    }
    if (U_FAILURE(status)) return {{}, "it holds what is not " + encoding};
    return {ToUtf8(text), {}};
}

// How the text is read that has neither a mark nor the form of UTF-16. A declared Unicode encoding
// can only be UTF-8 then: programs that save a text in another encoding forget the declaration.
std::string EncodingOf(const std::string& declared) {
    if (declared.empty()) return std::string(Utf8);
    const Converter converter = OpenConverter(declared);
    if (converter == nullptr) return declared;
    switch (ucnv_getType(converter.get())) {
        case UCNV_UTF8:
        case UCNV_UTF16:
        case UCNV_UTF16_BigEndian:
        case UCNV_UTF16_LittleEndian:
        case UCNV_UTF32:
        case UCNV_UTF32_BigEndian:
        case UCNV_UTF32_LittleEndian:
            return std::string(Utf8);
        default:
            return declared;
    }
}

}  // namespace

XmlText DecodeXml(std::string bytes) {
    constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
    const bool marked = bytes.starts_with(Utf8Mark);
    if (!marked) {
        for (const Start& start : Starts) {
            if (!bytes.starts_with(start.bytes)) continue;
            XmlText text = Convert(bytes, std::string(start.encoding));
            if (text.text && text.text->starts_with(Utf8Mark)) text.text->erase(0, Utf8Mark.size());
            return text;
        }
        const std::string encoding = EncodingOf(DeclaredEncoding(bytes));
        if (encoding != Utf8) return Convert(bytes, encoding);
    }
    if (!IsUtf8(bytes)) return {{}, "it is not UTF-8, and declares nothing else"};
    if (marked) bytes.erase(0, Utf8Mark.size());
    return {std::move(bytes), {}};
}

}  // namespace QuillonLib
