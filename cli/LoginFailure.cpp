#include "cli/LoginFailure.h"

#include "cli/DriverFile.h"
#include "data/Diagnostic.h"

namespace quillon {

namespace {

using namespace QuillonLib;

bool RequiresEncryption(const Database& database) {
    return database.ConnectionKeywords() ==
           FromUtf8(DriverKeywords(DriverKind::FreeTds, Encryption::Require, false));
}

// A server that is not there, one that is silent and one that refuses the login are told of by a
// diagnostic of their own in front of this one.
bool TellsNoReason(const Error& error) {
    const auto* const failure = dynamic_cast<const DataError*>(&error);
    if (failure == nullptr || failure->Diagnostics().size() != 1) return false;
    const Diagnostic& only = failure->Diagnostics().front();
    return only.sqlState == "08001" && only.nativeError == 0;
}

}  // namespace

std::string LikelyCause(const Database& database, const Error& error) {
    if (!RequiresEncryption(database) || !TellsNoReason(error)) return {};
    return "Encryption is required here, and the driver gives no reason. Likely the server does "
           "not "
           "encrypt; but a name that is not found, and a server that does not speak this protocol, "
           "fail with the same words.";
}

}  // namespace quillon
