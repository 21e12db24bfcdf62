#include "data/CodePageConverter.h"

#include <algorithm>
#include <iterator>

namespace QuillonLib {

namespace {

constexpr CodePageFacts Pages[] = {
    {"ibm-437_P100-1995", 437, {}},
    {"ibm-850_P100-1995", 850, {}},
    {"windows-874-2000", 874, {}},
    {"ibm-943_P15A-2003", 932, {{0x81, 0x9F}, {0xE0, 0xFC}}},
    {"windows-936-2000", 936, {{0x81, 0xFE}}},
    {"windows-949-2000", 949, {{0x81, 0xFE}}},
    {"windows-950-2000", 950, {{0x81, 0xFE}}},
    {"ibm-5346_P100-1998", 1250, {}},
    {"ibm-5347_P100-1998", 1251, {}},
    {"ibm-5348_P100-1997", 1252, {}},
    {"ibm-5349_P100-1998", 1253, {}},
    {"ibm-5350_P100-1998", 1254, {}},
    {"ibm-9447_P100-2002", 1255, {}},
    {"ibm-9448_X100-2005", 1256, {}},
    {"ibm-9449_P100-2002", 1257, {}},
    {"ibm-5354_P100-1998", 1258, {}},
};

}  // namespace

const CodePageFacts* FindCodePageFacts(std::int32_t number) {
    const auto* found = std::find_if(std::begin(Pages), std::end(Pages),
                                     [number](const auto& page) { return page.Number == number; });
    return found == std::end(Pages) ? nullptr : found;
}

}  // namespace QuillonLib
