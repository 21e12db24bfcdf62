// Any batch: the sandbox's parser makes a tree of it or refuses it with an error of the server's.
#include <cstdint>
#include <string>

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/SqlError.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // One unit from each byte; FF and FE stand for what is not ASCII.
    std::u16string batch(data, data + size);
    for (char16_t& unit : batch) {
        if (unit == 0xFF) unit = 0xD83D;
        if (unit == 0xFE) unit = 0x0130;
    }
    try {
        sandbox::engine::Parser(batch).ParseBatch();
    } catch (const sandbox::engine::SqlError&) {
    }
    try {
        sandbox::engine::Parser(batch).ParseExpressionText();
    } catch (const sandbox::engine::SqlError&) {
    }
    return 0;
}
