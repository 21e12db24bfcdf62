#include <unistd.h>

#include <array>

#include "core/Text.h"
#include "util/ComputerName.h"

namespace QuillonLib {

std::u16string GetLocalComputerName() {
    std::array<char, 256> name{};  // longer than any host name; the last byte stays zero
    if (gethostname(name.data(), name.size() - 1) != 0 || name.front() == '\0') return u".";
    return FromUtf8(name.data());
}

}  // namespace QuillonLib
