#include <windows.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <system_error>

#include "templates/EncodedText.h"

namespace QuillonLib {

namespace {

struct NamedCodePage {
    std::string_view name;
    UINT page;
};

constexpr UINT Ascii = 20127;

// The names by which XML files call what the system has, besides those that hold the number.
constexpr std::array NamedCodePages{
    NamedCodePage{"us-ascii", Ascii},     NamedCodePage{"ascii", Ascii},
    NamedCodePage{"iso646-us", Ascii},    NamedCodePage{"latin1", 28591},
    NamedCodePage{"latin2", 28592},       NamedCodePage{"shift_jis", 932},
    NamedCodePage{"shift-jis", 932},      NamedCodePage{"sjis", 932},
    NamedCodePage{"x-sjis", 932},         NamedCodePage{"windows-31j", 932},
    NamedCodePage{"gb2312", 936},         NamedCodePage{"gbk", 936},
    NamedCodePage{"gb18030", 54936},      NamedCodePage{"euc-kr", 949},
    NamedCodePage{"ks_c_5601-1987", 949}, NamedCodePage{"big5", 950},
    NamedCodePage{"euc-jp", 20932},       NamedCodePage{"koi8-r", 20866},
    NamedCodePage{"koi8-u", 21866},       NamedCodePage{"tis-620", 874},
    NamedCodePage{"macintosh", 10000},
};

// Names that end in the number of a code page, and what is added to it.
constexpr std::array NumberedCodePages{
    NamedCodePage{"windows-", 0},     NamedCodePage{"cp", 0},
    NamedCodePage{"ibm", 0},          NamedCodePage{"iso-8859-", 28590},
    NamedCodePage{"iso8859-", 28590}, NamedCodePage{"iso_8859-", 28590},
};

constexpr std::array UnicodeNames{
    std::string_view("utf-8"),           std::string_view("utf8"),
    std::string_view("utf-16"),          std::string_view("utf-16le"),
    std::string_view("utf-16be"),        std::string_view("utf-32"),
    std::string_view("utf-32le"),        std::string_view("utf-32be"),
    std::string_view("unicode"),         std::string_view("ucs-2"),
    std::string_view("ucs-4"),           std::string_view("iso-10646-ucs-2"),
    std::string_view("iso-10646-ucs-4"),
};

std::string InSmallLetters(std::string text) {
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return text;
}

UINT NumberedPage(std::string_view name) {
    for (const NamedCodePage& form : NumberedCodePages) {
        if (!name.starts_with(form.name)) continue;
        UINT number = 0;
        const char* const end = name.data() + name.size();
        const auto read = std::from_chars(name.data() + form.name.size(), end, number);
        if (read.ec == std::errc() && read.ptr == end && number < 100000) return form.page + number;
    }
    return 0;
}

// 0 for a name that is not known, and where the system lacks the code page.
UINT PageOf(const std::string& name) {
    const std::string small = InSmallLetters(name);
    const auto* const found = std::find_if(NamedCodePages.begin(), NamedCodePages.end(),
                                           [&](const auto& page) { return page.name == small; });
    const UINT page = found != NamedCodePages.end() ? found->page : NumberedPage(small);
    // The forms of Unicode are not read by number.
    const bool isUnicode = page == CP_UTF7 || page == CP_UTF8 || page == 1200 || page == 1201 ||
                           page == 12000 || page == 12001;
    return page != 0 && !isUnicode && IsValidCodePage(page) != 0 ? page : 0;
}

bool IsAscii(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

// The system spells a byte that has no character as one for private use.
bool StandsForNothing(wchar_t unit) {
    return unit >= 0xF880 && unit <= 0xF8FF;
}

}  // namespace

EncodingKind KindOfEncoding(const std::string& name) {
    const std::string small = InSmallLetters(name);
    if (std::find(UnicodeNames.begin(), UnicodeNames.end(), small) != UnicodeNames.end())
        return EncodingKind::Unicode;
    return PageOf(name) == 0 ? EncodingKind::Unknown : EncodingKind::Bytes;
}

std::optional<std::u16string> DecodeText(std::string_view bytes, const std::string& encoding) {
    if (bytes.empty()) return std::u16string();
    const UINT page = PageOf(encoding);
    // The system takes the highest bit of ASCII away.
    if (page == 0 || (page == Ascii && !IsAscii(bytes))) return std::nullopt;
    if (bytes.size() > std::size_t{std::numeric_limits<int>::max()}) return std::nullopt;
    const auto size = static_cast<int>(bytes.size());
    const int units =
        MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0);
    if (units <= 0) return std::nullopt;
    std::wstring text(static_cast<std::size_t>(units), L'\0');
    if (MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(), size, text.data(), units) !=
        units) {
        return std::nullopt;
    }
    if (std::any_of(text.begin(), text.end(), StandsForNothing)) return std::nullopt;
    return std::u16string(text.begin(), text.end());
}

}  // namespace QuillonLib
