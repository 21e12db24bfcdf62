#include "compare/ConnectionErrors.h"

#include "core/Text.h"
#include "data/Connection.h"

namespace QuillonLib {

std::u16string GetConnectionErrors(std::span<const std::shared_ptr<Connection>> connections) {
    std::u16string text;
    for (const auto& connection : connections) {
        if (connection == nullptr) continue;
        for (const Diagnostic& diagnostic : connection->Errors()) {
            text.append(CrLf).append(diagnostic.description);
        }
    }
    return text;
}

}  // namespace QuillonLib
