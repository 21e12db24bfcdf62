#include "data/Diagnostic.h"

#include <algorithm>
#include <utility>

#include "core/Text.h"

namespace QuillonLib {

namespace {

std::int32_t NumberOf(const std::vector<Diagnostic>& diagnostics) {
    const auto specific =
        std::find_if(diagnostics.begin(), diagnostics.end(),
                     [](const Diagnostic& d) { return d.number != ErrorNumber::DataAccess; });
    return specific == diagnostics.end() ? ErrorNumber::DataAccess : specific->number;
}

std::u16string JoinDescriptions(const std::vector<Diagnostic>& diagnostics) {
    std::u16string joined;
    for (const Diagnostic& diagnostic : diagnostics) {
        if (!joined.empty()) joined += CrLf;
        joined += diagnostic.description;
    }
    return joined;
}

}  // namespace

DataError::DataError(std::vector<Diagnostic> diagnostics)
    : Error(NumberOf(diagnostics), JoinDescriptions(diagnostics)),
      diagnostics_(std::move(diagnostics)) {
}

bool DataError::HasNativeError(std::int32_t nativeError) const noexcept {
    return std::any_of(diagnostics_.begin(), diagnostics_.end(),
                       [&](const Diagnostic& d) { return d.nativeError == nativeError; });
}

std::int32_t NumberOfSqlState(std::string_view sqlState) noexcept {
    if (sqlState == "42000") return ErrorNumber::SyntaxOrAccess;
    if (sqlState == "42S02") return ErrorNumber::NoSuchTable;
    if (sqlState == "28000") return ErrorNumber::LoginRefused;
    if (sqlState == "23000") return ErrorNumber::ConstraintViolation;
    return ErrorNumber::DataAccess;
}

}  // namespace QuillonLib
