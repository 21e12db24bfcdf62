#include <unicode/ucnv.h>

#include <array>
#include <memory>
#include <new>
#include <utility>

#include "templates/EncodedText.h"

namespace QuillonLib {

namespace {

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

}  // namespace

EncodingKind KindOfEncoding(const std::string& name) {
    const Converter converter = OpenConverter(name);
    if (converter == nullptr) return EncodingKind::Unknown;
    switch (ucnv_getType(converter.get())) {
        case UCNV_UTF8:
        case UCNV_UTF16:
        case UCNV_UTF16_BigEndian:
        case UCNV_UTF16_LittleEndian:
        case UCNV_UTF32:
        case UCNV_UTF32_BigEndian:
        case UCNV_UTF32_LittleEndian:
            return EncodingKind::Unicode;
        default:
            return EncodingKind::Bytes;
    }
}

std::optional<std::u16string> DecodeText(std::string_view bytes, const std::string& encoding) {
    const Converter converter = OpenConverter(encoding);
    if (converter == nullptr) return std::nullopt;
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
    if (U_FAILURE(status)) return std::nullopt;
    return text;
}

}  // namespace QuillonLib
