#include "CodePage.h"

#include <cstring>

namespace sandbox::wire {

std::uint8_t* PutCodePage(std::uint8_t* p, const CodePage& page, const std::uint8_t* text,
                          std::size_t units) {
    for (std::size_t n = 0; n < units; ++n) {
        const auto unit = static_cast<char16_t>(text[2 * n] | text[2 * n + 1] << 8);
        p[n] = unit < 0x80 ? static_cast<std::uint8_t>(unit) : page.Byte(unit);
    }
    return p + units;
}

std::u16string UnitsOf(const Cell& cell) {
    std::u16string units(cell.size / 2, u'\0');
    if (!units.empty()) std::memcpy(units.data(), cell.data, units.size() * 2);
    return units;
}

std::string BytesOf(const CodePage& page, const Cell& cell) {
    if (!page.IsSingleByte()) return page.Bytes(UnitsOf(cell));
    std::string bytes(cell.size / 2, '\0');
    PutCodePage(reinterpret_cast<std::uint8_t*>(bytes.data()), page, cell.data, bytes.size());
    return bytes;
}

std::u16string FromCodePage(Bytes bytes) {
    return CodePage::Of(FactsOf(kServerCollation).codePage)
        .Keep({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace sandbox::wire
