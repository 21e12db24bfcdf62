// The options by which a command is told of a server, or of the databases of a comparison.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "QuillonLib.h"
#include "cli/ConnectionFile.h"
#include "cli/Console.h"
#include "cli/DriverFile.h"

namespace CLI {
class App;
}

namespace quillon {

// A login: who, and with what password. The password comes from a command, the environment or a
// prompt, never from the command line, where every user of the machine could read it.
struct LoginOptions {
    std::string user;
    bool integrated = false;
    std::string passwordCommand;
    std::string passwordVariable = "QUILLON_PASSWORD";

    void AddTo(CLI::App& command, const std::string& suffix, const std::string& whose);
    bool Given() const { return integrated || !user.empty(); }
    // Throws std::runtime_error where there is none to be had.
    // `place`: the server, or SERVER/DATABASE, that a prompt names.
    std::u16string Password(const std::string& place, Console& console) const;
};

// A login's name or password as the connection string takes it: in braces where it holds what
// would end it, so that it can never add a keyword. FreeTDS takes what is in them as it stands, so
// that it throws CLI::ValidationError for the few values that cannot be carried; the text names
// `what`, not the value. In them other drivers take "}" doubled.
std::string ConnectionValue(const std::string& value, const char* what,
                            DriverKind driver = DriverKind::FreeTds);

// A server as the library takes it: "host", "host,port", "host\instance". "host:port", "tcp:host"
// and "[IPv6 address]" are brought to that form. Throws CLI::ValidationError.
std::string ParseServer(const std::string& text);

// SERVER/DATABASE.
struct DatabaseLocation {
    std::u16string server;
    std::u16string database;

    // Throws CLI::ValidationError that names what is wrong.
    static DatabaseLocation Parse(const std::string& text);
    // Makes the database lie here, described as SERVER/DATABASE, or SERVER where it is none.
    void PutInto(QuillonLib::Database& target) const;
};

// How servers are talked to. What is absent is as the library and the driver have it.
struct SessionOptions {
    std::optional<Encryption> encryption;
    std::optional<std::chrono::seconds> loginTimeout;
    std::optional<std::chrono::seconds> statementTimeout;
    DriverChoice driver;

    void AddTo(CLI::App& command);
    // These, and for what is absent here, those of the connection.
    SessionOptions Or(const NamedConnection& connection) const;
    // Throws std::runtime_error for an encryption that the driver cannot be asked for.
    void PutInto(QuillonLib::Database& target) const;
};

// --config, the file of named connections.
void AddConfigTo(CLI::App& command, std::string& file);

LoginOptions LoginOf(const NamedConnection& connection);

// Where somebody wants to know what is sent.
void TellOf(QuillonLib::Database& database, const SessionOptions& session, Console& console);

// Databases 1 and 2; and 3, on whose server the queries run across both where a server compares
// (default: database 1's).
class DatabaseOptions {
  public:
    void AddTo(CLI::App& command);
    void AddThirdTo(CLI::App& command);

    struct Databases {
        std::shared_ptr<QuillonLib::Database> obDB1;
        std::shared_ptr<QuillonLib::Database> obDB2;
        std::shared_ptr<QuillonLib::Database> obDB3;
    };
    Databases Make(Console& console) const;
    // For queries across both. Throws CLI::ValidationError for a login that no linked server can
    // be given, where one is needed.
    static void RequireLinkable(const Databases& databases);

    bool Given() const { return !location1_.empty(); }
    // Databases as a template describes them; an empty third one is the first. What the command
    // line names goes before: false where it names both databases.
    bool Take(std::string database1, std::string database2, std::string database3) {
        if (Given()) return false;
        location1_ = std::move(database1);
        location2_ = std::move(database2);
        if (location3_.empty()) location3_ = std::move(database3);
        return true;
    }

  private:
    struct Place;
    Place Find(const std::string& text, std::optional<ConnectionFile>& file) const;

    std::string location1_;
    std::string location2_;
    std::string location3_;
    LoginOptions login1_;
    LoginOptions login2_;
    SessionOptions session_;
    std::string config_;  // the file of connections; empty: the user's own
};

std::shared_ptr<QuillonLib::Database> MakeDatabase(const DatabaseLocation& location,
                                                   const LoginOptions& login, DriverKind driver,
                                                   Console& console);

}  // namespace quillon
