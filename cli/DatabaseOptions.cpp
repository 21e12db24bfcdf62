#include "cli/DatabaseOptions.h"

#include <cstdlib>
#include <stdexcept>

namespace quillon {

using QuillonLib::FromUtf8;

void LoginOptions::AddTo(CLI::App& command, const std::string& suffix, const std::string& whose) {
    command.add_option("--user" + suffix, user, "SQL login " + whose)->type_name("NAME");
    command.add_flag("--integrated" + suffix, integrated, "Integrated login " + whose);
}

std::u16string LoginOptions::Password(Console& console) const {
    if (integrated) return {};
    if (const char* password = std::getenv(passwordVariable)) return FromUtf8(password);
    try {
        return FromUtf8(console.AskSecret("Password of " + user + ": "));
    } catch (const std::runtime_error&) {
        throw std::runtime_error("no password for " + user + ": set " + passwordVariable +
                                 " in the environment");
    }
}

DatabaseLocation DatabaseLocation::Parse(const std::string& text) {
    const std::size_t slash = text.rfind('/');
    if (slash == std::string::npos || slash == 0 || slash + 1 == text.size()) {
        throw CLI::ValidationError("'" + text +
                                   "' is not SERVER/DATABASE, as in db.example.org/sales");
    }
    return {FromUtf8(text.substr(0, slash)), FromUtf8(text.substr(slash + 1))};
}

std::shared_ptr<QuillonLib::Database> MakeDatabase(const DatabaseLocation& location,
                                                   const LoginOptions& login, Console& console) {
    auto database = std::make_shared<QuillonLib::Database>();
    database->Server(location.server);
    database->DatabaseName(location.database);
    database->Description(location.server + u"/" + location.database);
    database->NTSecurity(login.integrated);
    database->Username(FromUtf8(login.user));
    database->Password(login.Password(console));
    database->CheckDependencies(true);
    return database;
}

void DatabaseOptions::AddTo(CLI::App& command) {
    login2_.passwordVariable = "QUILLON_PASSWORD2";
    command.add_option("database1", location1_, "First database")->type_name("SERVER/DATABASE");
    command.add_option("database2", location2_, "Second database")->type_name("SERVER/DATABASE");
    command
        .add_option("--via", location3_,
                    "Database on whose server the queries across both run (default: the first)")
        ->type_name("SERVER/DATABASE");
    login1_.AddTo(command, "", "(for both databases unless --user2 or --integrated2 is given)");
    login2_.AddTo(command, "2", "for the second database");
}

DatabaseOptions::Databases DatabaseOptions::Make(Console& console) const {
    if (location1_.empty() || location2_.empty()) {
        throw CLI::RequiredError("Two databases, each as SERVER/DATABASE,");
    }
    if (login1_.user.empty() && !login1_.integrated) {
        throw CLI::RequiredError("--user or --integrated");
    }
    const bool ownLogin2 = !login2_.user.empty() || login2_.integrated;
    const bool ownPassword2 = std::getenv(login2_.passwordVariable) != nullptr;
    LoginOptions login2 = ownLogin2 ? login2_ : login1_;
    if (ownPassword2) login2.passwordVariable = login2_.passwordVariable;

    Databases databases;
    databases.obDB1 = MakeDatabase(DatabaseLocation::Parse(location1_), login1_, console);
    if (ownLogin2 || ownPassword2) {
        databases.obDB2 = MakeDatabase(DatabaseLocation::Parse(location2_), login2, console);
    } else {
        const DatabaseLocation location = DatabaseLocation::Parse(location2_);
        databases.obDB2 = std::make_shared<QuillonLib::Database>(*databases.obDB1);
        databases.obDB2->Server(location.server);
        databases.obDB2->DatabaseName(location.database);
        databases.obDB2->Description(location.server + u"/" + location.database);
    }
    databases.obDB3 = databases.obDB1;
    if (!location3_.empty()) {
        const DatabaseLocation location = DatabaseLocation::Parse(location3_);
        databases.obDB3 = std::make_shared<QuillonLib::Database>(*databases.obDB1);
        databases.obDB3->Server(location.server);
        databases.obDB3->DatabaseName(location.database);
        databases.obDB3->Description(location.server + u"/" + location.database);
    }
    return databases;
}

}  // namespace quillon
