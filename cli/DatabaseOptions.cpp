#include "cli/DatabaseOptions.h"

#include <stdexcept>

#include "cli/AbandonOnInterrupt.h"
#include "cli/Environment.h"
#include "cli/NumberText.h"
#include "cli/ParsedOption.h"
#include "cli/Printable.h"
#include "cli/Roads.h"
#include "cli/StatementLog.h"
#include "compare/LinkedServers.h"

namespace quillon {

using QuillonLib::FromUtf8;

void LoginOptions::AddTo(CLI::App& command, const std::string& suffix, const std::string& whose) {
    command.add_option("--user" + suffix, user, "SQL login " + whose)->type_name("NAME");
    command.add_flag("--integrated" + suffix, integrated, "Integrated login " + whose);
}

namespace {

std::u16string CheckedPassword(const std::string& password, const std::string& from) {
    if (!QuillonLib::IsUtf8(password)) throw std::runtime_error(from + " is not UTF-8");
    return FromUtf8(password);
}

std::u16string PasswordOf(const std::string& command, const std::string& user) {
    const std::string name = "the password command of " + user;
    const AbandonOnInterrupt silent;
    try {
        return CheckedPassword(FirstLineOf(command), "what it prints");
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(name + ": " + error.what());
    }
}

}  // namespace

std::u16string LoginOptions::Password(const std::string& place, Console& console) const {
    if (integrated) return {};
    if (!passwordCommand.empty()) return PasswordOf(passwordCommand, user);
    if (const auto password = Environment(passwordVariable.c_str()))
        return CheckedPassword(*password, passwordVariable);
    std::string typed;
    try {
        typed = console.AskSecret("Password of " + user + " for " + place + ": ");
    } catch (const std::runtime_error&) {
        throw std::runtime_error("no password for " + user + ": set " + passwordVariable +
                                 " in the environment");
    }
    return CheckedPassword(typed, "what was typed");
}

namespace {

using QuillonLib::ToUtf8;

// The connection string has no other way to hold such a value than in braces.
bool NeedsBraces(std::string_view value) {
    return value.find(';') != std::string_view::npos || value.starts_with('{');
}

bool IsPort(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Names that go into the connection string and into queries as they stand.
void RequirePlainName(const std::string& name, const char* what, const char* breaks) {
    const std::size_t at = name.find_first_of(breaks);
    const bool brace = name.starts_with('{');
    if (at == std::string::npos && !brace) return;
    throw CLI::ValidationError(std::string("the ") + what + " name '" + name + "' holds '" +
                               (brace ? '{' : name[at]) +
                               "', which cannot be carried to the server");
}

// "host,port" for the other forms in which people write a server.
std::string ServerForm(std::string server) {
    if (server.starts_with("tcp:")) server.erase(0, 4);
    for (const char* other : {"np:", "lpc:", "admin:"}) {
        if (server.starts_with(other)) {
            throw CLI::ValidationError("'" + server +
                                       "': only TCP connections are made; write HOST, HOST,PORT or "
                                       "HOST\\INSTANCE");
        }
    }
    if (server.starts_with('[')) {  // an IPv6 address
        const std::size_t end = server.find(']');
        const std::string rest = end == std::string::npos ? "" : server.substr(end + 1);
        const bool port =
            rest.size() > 1 && (rest[0] == ':' || rest[0] == ',') && IsPort(rest.substr(1));
        if (end == std::string::npos || (!rest.empty() && !port)) {
            throw CLI::ValidationError("'" + server + "' is not [ADDRESS] or [ADDRESS],PORT");
        }
        return server.substr(1, end - 1) + (port ? "," + rest.substr(1) : "");
    }
    const std::size_t colon = server.find(':');
    const bool oneColon =
        colon != std::string::npos && server.find(':', colon + 1) == std::string::npos;
    if (oneColon && colon > 0 && IsPort(server.substr(colon + 1))) server[colon] = ',';
    return server;
}

}  // namespace

namespace {

// As the manuals of ODBC have it.
std::string InBraces(const std::string& value) {
    std::string text = "{";
    for (const char unit : value)
        text += unit == '}' ? std::string("}}") : std::string(1, unit);
    return text + "}";
}

}  // namespace

std::string ConnectionValue(const std::string& value, const char* what, DriverKind driver) {
    const bool blank = value.starts_with(' ') || value.ends_with(' ');
    if (driver != DriverKind::FreeTds) return NeedsBraces(value) || blank ? InBraces(value) : value;
    if (!NeedsBraces(value)) return value;
    if (value.find("};") != std::string::npos || value.ends_with('}')) {
        throw CLI::ValidationError(std::string("the ") + what +
                                   " holds '}' beside ';' or '{' in a way that no connection "
                                   "string can carry");
    }
    return "{" + value + "}";
}

std::string ParseServer(const std::string& text) {
    RequirePlainName(text, "server", ";'");
    std::string server = ServerForm(text);
    const std::size_t comma = server.find(',');
    if (comma == std::string::npos) return server;
    const auto port = ParseNumber<std::uint16_t>(server.substr(comma + 1));
    if (comma == 0 || !port || *port == 0) {
        throw CLI::ValidationError("'" + text +
                                   "' is not a server: HOST, HOST\\INSTANCE or HOST,PORT, with a "
                                   "port from 1 to 65535");
    }
    return server;
}

DatabaseLocation DatabaseLocation::Parse(const std::string& text) {
    const std::size_t slash = text.rfind('/');
    if (slash == std::string::npos || slash == 0 || slash + 1 == text.size()) {
        throw CLI::ValidationError("'" + text +
                                   "' is not SERVER/DATABASE, as in db.example.org/sales");
    }
    const std::string database = text.substr(slash + 1);
    RequirePlainName(database, "database", ";]");
    return {FromUtf8(ParseServer(text.substr(0, slash))), FromUtf8(database)};
}

std::shared_ptr<QuillonLib::Database> MakeDatabase(const DatabaseLocation& location,
                                                   const LoginOptions& login, DriverKind driver,
                                                   Console& console) {
    auto database = std::make_shared<QuillonLib::Database>();
    location.PutInto(*database);
    database->NTSecurity(login.integrated);
    database->Username(FromUtf8(ConnectionValue(login.user, "user name", driver)));
    const std::u16string password =
        login.Password(Printable(ToUtf8(database->Description())), console);
    database->Password(FromUtf8(ConnectionValue(ToUtf8(password), "password", driver)));
    database->CheckDependencies(true);
    return database;
}

void DatabaseLocation::PutInto(QuillonLib::Database& target) const {
    target.Server(server);
    target.DatabaseName(database);
    target.Description(database.empty() ? server : server + u"/" + database);
}

namespace {

// Linked servers take login and password as they stand, in quotes.
void RequireLinkable(const QuillonLib::Database& database, const QuillonLib::Database& obDB3) {
    if (QuillonLib::IsOnServerOf(database, obDB3) || database.NTSecurity()) return;
    for (const auto& [value, what] : {std::pair(database.Username(), "user name"),
                                      std::pair(database.Password(), "password")}) {
        const std::string text = ToUtf8(value);
        if (text.find('\'') == std::string::npos && !NeedsBraces(text)) continue;
        throw CLI::ValidationError(
            std::string("the ") + what + " for " + ToUtf8(database.Description()) +
            " holds a quote, a ';' or a '{' in front: a linked server, which databases on several "
            "servers need, cannot be given it");
    }
}

}  // namespace

#ifdef _WIN32
constexpr const char* DriverForm = "NAME";
#else
constexpr const char* DriverForm = "FILE";
#endif

void SessionOptions::AddTo(CLI::App& command) {
    AddParsed(
        command, "--encryption", encryption, ParseEncryption,
        "What is encrypted: nothing (off), the login where the server can (request, the default), "
        "or "
        "all that is sent (require)")
        ->type_name("off|request|require");
    AddParsed(command, "--driver", driver, ChooseDriver,
              "Another ODBC driver (default: the one that is registered as SQL Server, else "
              "FreeTDS)")
        ->type_name(DriverForm);
    AddParsed(command, "--login-timeout", loginTimeout, ParseSeconds,
              "How long a login may take (default: 15; 0: as long as it takes)")
        ->type_name("SECONDS");
    AddParsed(command, "--statement-timeout", statementTimeout, ParseSeconds,
              "How long a server may be silent over a statement (default: as long as it takes)")
        ->type_name("SECONDS");
}

SessionOptions SessionOptions::Or(const NamedConnection& connection) const {
    SessionOptions options = *this;
    if (!options.encryption) options.encryption = connection.encryption;
    if (!options.loginTimeout) options.loginTimeout = connection.loginTimeout;
    if (!options.statementTimeout) options.statementTimeout = connection.statementTimeout;
    return options;
}

void SessionOptions::PutInto(QuillonLib::Database& target) const {
    target.Driver(FromUtf8(driver.name));
    target.ConnectionKeywords(
        FromUtf8(DriverKeywords(driver.kind, encryption, target.NTSecurity())));
    if (loginTimeout) target.LoginTimeout(*loginTimeout);
    if (statementTimeout) target.CommandTimeout(*statementTimeout);
}

void AddConfigTo(CLI::App& command, std::string& file) {
    command
        .add_option("--config", file,
                    "File of named connections (default: quillon/connections.ini in the user's "
                    "folder for configurations)")
        ->type_name("FILE");
}

LoginOptions LoginOf(const NamedConnection& connection) {
    LoginOptions login;
    login.user = connection.user;
    login.integrated = connection.integrated;
    login.passwordCommand = connection.passwordCommand;
    if (!connection.passwordVariable.empty()) login.passwordVariable = connection.passwordVariable;
    return login;
}

void TellOf(QuillonLib::Database& database, const SessionOptions& session, Console& console) {
    if (console.Log() == nullptr) return;
    console.Log()->ListenTo(database, EncryptionText(session.driver.kind, session.encryption));
}

void DatabaseOptions::AddTo(CLI::App& command) {
    constexpr const char* Form = "SERVER/DATABASE|NAME";
    login2_.passwordVariable = "QUILLON_PASSWORD2";
    command.add_option("database1", location1_, "First database, or the name of a connection")
        ->type_name(Form);
    command.add_option("database2", location2_, "Second database, or the name of a connection")
        ->type_name(Form);
    login1_.AddTo(command, "", "(for both databases unless --user2 or --integrated2 is given)");
    login2_.AddTo(command, "2", "for the second database");
    AddConfigTo(command, config_);
    session_.AddTo(command);
}

void DatabaseOptions::AddThirdTo(CLI::App& command) {
    command
        .add_option("--via", location3_,
                    "Database on whose server the queries across both run, with the login of the "
                    "first (default: the first)")
        ->type_name("SERVER/DATABASE")
        ->group(ByServerGroup);
}

// Where a database is, and what its connection says of how to get there.
struct DatabaseOptions::Place {
    DatabaseLocation location;
    LoginOptions login;
    bool namesPassword = false;  // the connection says itself where its password is
    SessionOptions session;
};

DatabaseOptions::Place DatabaseOptions::Find(const std::string& text,
                                             std::optional<ConnectionFile>& file) const {
    Place place;
    place.session = session_;
    if (text.find('/') != std::string::npos) {
        place.location = DatabaseLocation::Parse(text);
        return place;
    }
    if (!file) file = ConnectionFile::Read(config_);
    const NamedConnection& connection = file->Find(text);
    place.location = DatabaseLocation::Parse(connection.server + "/" + connection.database);
    place.login = LoginOf(connection);
    place.namesPassword =
        !connection.passwordCommand.empty() || !connection.passwordVariable.empty();
    place.session = session_.Or(connection);
    return place;
}

DatabaseOptions::Databases DatabaseOptions::Make(Console& console) const {
    if (location1_.empty() || location2_.empty()) {
        throw CLI::RequiredError(
            "Two databases, each as SERVER/DATABASE or the name of a connection,");
    }
    std::optional<ConnectionFile> file;
    // One that is named must be there, also where it is not needed.
    if (!config_.empty()) file = ConnectionFile::Read(config_);
    const Place place1 = Find(location1_, file);
    const Place place2 = Find(location2_, file);
    const LoginOptions& login1 = login1_.Given() ? login1_ : place1.login;
    if (!login1.Given()) throw CLI::RequiredError("--user or --integrated");
    // A login of the command line is for both, that of a connection for nothing else.
    LoginOptions login2 = login2_.Given() ? login2_ : login1_.Given() ? login1_ : place2.login;
    if (!login2.Given()) throw CLI::RequiredError("--user2 or --integrated2");
    const bool ownPassword2 = Environment(login2_.passwordVariable.c_str()).has_value();
    const bool ofConnection2 = !login2_.Given() && !login1_.Given();
    if (ownPassword2 && !(ofConnection2 && place2.namesPassword))
        login2.passwordVariable = login2_.passwordVariable;

    Databases databases;
    databases.obDB1 = MakeDatabase(place1.location, login1, session_.driver.kind, console);
    if (login2_.Given() || !login1_.Given() || ownPassword2) {
        databases.obDB2 = MakeDatabase(place2.location, login2, session_.driver.kind, console);
    } else {
        databases.obDB2 = std::make_shared<QuillonLib::Database>(*databases.obDB1);
        place2.location.PutInto(*databases.obDB2);
    }
    databases.obDB3 = databases.obDB1;
    if (!location3_.empty()) {
        const Place place3 = Find(location3_, file);
        if (!login1_.Given() && place3.login.Given()) {
            databases.obDB3 =
                MakeDatabase(place3.location, place3.login, session_.driver.kind, console);
        } else if (login1_.Given() || place3.location.server == place1.location.server) {
            databases.obDB3 = std::make_shared<QuillonLib::Database>(*databases.obDB1);
            place3.location.PutInto(*databases.obDB3);
        } else {
            throw CLI::RequiredError("For --via to another server --user or --integrated");
        }
        place3.session.PutInto(*databases.obDB3);
        TellOf(*databases.obDB3, place3.session, console);
    }
    place1.session.PutInto(*databases.obDB1);
    place2.session.PutInto(*databases.obDB2);
    TellOf(*databases.obDB1, place1.session, console);
    TellOf(*databases.obDB2, place2.session, console);
    return databases;
}

void DatabaseOptions::RequireLinkable(const Databases& databases) {
    quillon::RequireLinkable(*databases.obDB1, *databases.obDB3);
    quillon::RequireLinkable(*databases.obDB2, *databases.obDB3);
}

}  // namespace quillon
