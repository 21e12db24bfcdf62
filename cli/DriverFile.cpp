#include "cli/DriverFile.h"

#include <stdexcept>

#include "core/Text.h"

namespace quillon {

namespace {

using QuillonLib::FromUtf8;

// By its file's name, or by the name under which its installer registers it.
DriverKind KindOf(const std::string& name) {
    const std::u16string folded = QuillonLib::FoldCase(FromUtf8(name.substr(
        name.find_last_of("/\\") == std::string::npos ? 0 : name.find_last_of("/\\") + 1)));
    const auto holds = [&](const char* part) {
        return folded.find(QuillonLib::FoldCase(FromUtf8(part))) != std::u16string::npos;
    };
    if (holds("tdsodbc") || holds("freetds")) return DriverKind::FreeTds;
    if (holds("msodbcsql")) return DriverKind::Microsoft;
    if (holds("ODBC Driver ") && holds(" for SQL Server")) return DriverKind::Microsoft;
    return DriverKind::Other;
}

std::string FreeTdsEncryption(Encryption encryption) {
    switch (encryption) {
        case Encryption::Off:
            return "encryption=off";
        case Encryption::Request:
            return "encryption=request";
        case Encryption::Require:
            break;
    }
    return "encryption=require";
}

// Its login is encrypted wherever the server can, and a session that is asked to be is one with a
// certificate that this machine trusts.
std::string MicrosoftEncryption(Encryption encryption) {
    switch (encryption) {
        case Encryption::Off:
            throw std::runtime_error(
                "--encryption off: this driver encrypts the login wherever the server can; "
                "request is the least that it does");
        case Encryption::Request:
            return "Encrypt=no";
        case Encryption::Require:
            break;
    }
    return "Encrypt=yes;TrustServerCertificate=no";
}

}  // namespace

DriverChoice ChooseDriver(const std::string& text) {
    DriverChoice choice;
    choice.name = LoadableDriver(text);
    if (choice.name.find_first_of("{}") != std::string::npos) {
        throw std::runtime_error("'" + choice.name +
                                 "' holds a brace, which no connection string can carry there");
    }
    choice.kind = KindOf(choice.name);
    return choice;
}

std::string DriverKeywords(DriverKind kind, std::optional<Encryption> encryption, bool integrated) {
    switch (kind) {
        case DriverKind::FreeTds:
            return encryption ? FreeTdsEncryption(*encryption) : "";
        case DriverKind::Microsoft: {
            std::string text = encryption ? MicrosoftEncryption(*encryption) : "";
            if (integrated)
                text += text.empty() ? "Trusted_Connection=yes" : ";Trusted_Connection=yes";
            return text;
        }
        case DriverKind::Other:
            break;
    }
    if (!encryption) return {};
    throw std::runtime_error(
        "--encryption: how this driver is told of it is not known; it is known of FreeTDS and of "
        "Microsoft's, by the names of their files");
}

std::string EncryptionText(DriverKind kind, std::optional<Encryption> encryption) {
    if (kind == DriverKind::Other || (!encryption && kind == DriverKind::Microsoft))
        return "as the driver does it";
    const char* const least =
        "the login where the server can, and the session where it asks for it";
    if (!encryption) return least;
    switch (*encryption) {
        case Encryption::Off:
            return "nothing";
        case Encryption::Request:
            return least;
        case Encryption::Require:
            break;
    }
    return kind == DriverKind::Microsoft ? "everything; the certificate is checked"
                                         : "everything; the certificate is not checked";
}

}  // namespace quillon
