// Any settings: the connection string holds each value as it stands, and what the driver is given
// in its place is hardly longer.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "data/ConnectionString.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The bytes up to each line feed are one value.
    std::vector<std::u16string> values(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            values.emplace_back();
        } else {
            values.back().push_back(data[i]);
        }
    }
    values.resize(4);
    for (const bool ntSecurity : {false, true}) {
        const std::u16string text = QuillonLib::BuildConnectionString(
            values[0], values[1], ntSecurity, values[2], values[3]);
        std::u16string wanted =
            u"driver={SQL Server};server=" + values[0] + u";database=" + values[1];
        if (!ntSecurity) wanted += u";uid=" + values[2] + u";pwd=" + values[3];
        if (text != wanted) std::abort();
        // at most ";port=1433" and a closing ";" are added
        const std::size_t adapted = QuillonLib::AdaptConnectionString(text).size();
        if (adapted < text.size() || adapted > text.size() + 11) std::abort();
    }
    // and as a connection string of somebody else's
    QuillonLib::AdaptConnectionString(std::u16string(data, data + size));
    return 0;
}
