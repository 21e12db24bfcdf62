// Another ODBC driver than the one that is registered, and what it must be told differently.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/ConnectionFile.h"

namespace quillon {

enum class DriverKind : std::uint8_t {
    FreeTds,
    Microsoft,  // versions 17 and 18: what is known of it is from its manual, none of it was tested
    Other,      // nothing is known of it
};

struct DriverChoice {
    std::string name;  // as the library takes it; empty: the driver that is registered
    DriverKind kind = DriverKind::FreeTds;
};

// `text`: on Linux the driver's file, on Windows the name under which it is registered. Throws
// std::runtime_error that tells why it cannot serve: a file that cannot be loaded, or is no ODBC
// driver; a name that no connection string can carry.
DriverChoice ChooseDriver(const std::string& text);

// What the driver is told of encryption, and of an integrated login, in its own words; empty where
// it is told nothing. Throws std::runtime_error for what the driver cannot do, or where its word
// for it is not known: a word that it does not know it may pass over, and encrypt nothing.
std::string DriverKeywords(DriverKind kind, std::optional<Encryption> encryption, bool integrated);

// What of a session is encrypted then, for people, as far as it is known from here: nothing tells
// what a server has agreed to.
std::string EncryptionText(DriverKind kind, std::optional<Encryption> encryption);

// For each system.
//
// The name to be put into a connection string; throws as ChooseDriver.
std::string LoadableDriver(const std::string& text);

}  // namespace quillon
