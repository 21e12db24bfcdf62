#include "cli/ConnectionFile.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "cli/NumberText.h"
#include "cli/Paths.h"
#include "cli/Printable.h"
#include "cli/SettingReader.h"
#include "cli/Suggestion.h"
#include "cli/TextFile.h"
#include "core/Text.h"

namespace quillon {

namespace {

using Setter = void (*)(NamedConnection&, const std::string&);

const std::map<std::string, Setter>& Settings() {
    using C = NamedConnection;
    using S = const std::string;
    static const std::map<std::string, Setter> settings = {
        {"database", [](C& c, S& value) { c.database = value; }},
        {"description", [](C& c, S& value) { c.description = value; }},
        {"encryption", [](C& c, S& value) { c.encryption = ParseEncryption(value); }},
        {"integrated", [](C& c, S& value) { c.integrated = ParseYesNo(value); }},
        {"login-timeout", [](C& c, S& value) { c.loginTimeout = ParseSeconds(value); }},
        {"password-command", [](C& c, S& value) { c.passwordCommand = value; }},
        {"password-variable", [](C& c, S& value) { c.passwordVariable = value; }},
        {"server", [](C& c, S& value) { c.server = value; }},
        {"statement-timeout", [](C& c, S& value) { c.statementTimeout = ParseSeconds(value); }},
        {"user", [](C& c, S& value) { c.user = value; }},
    };
    return settings;
}

class Reader : public SettingReader {
  public:
    std::vector<NamedConnection> connections;

  private:
    void Begin(const std::string& section) override { connections.emplace_back().name = section; }
    void Set(const std::string& setting, const std::string& value) override {
        RefusePassword(setting);
        const auto found = Settings().find(setting);
        if (found == Settings().end()) {
            std::vector<std::string> known;
            for (const auto& [name, setter] : Settings())
                known.push_back(name);
            throw std::runtime_error("there is no setting '" + setting + "'" +
                                     DidYouMean(setting, known));
        }
        RequireOnce(setting);
        RequireValue(setting, value);
        found->second(connections.back(), value);
    }
    void End() override {
        const NamedConnection& last = connections.back();
        const auto require = [&](bool given, const char* what) {
            if (!given) throw std::runtime_error("[" + last.name + "] has no " + what);
        };
        require(!last.server.empty(), "server");
        require(!last.database.empty(), "database");
        if (last.server.find('/') != std::string::npos ||
            last.database.find('/') != std::string::npos) {
            throw std::runtime_error("[" + last.name + "]: no server or database is named with /");
        }
        if (last.integrated && !last.user.empty())
            throw std::runtime_error("[" + last.name + "] has both a user and an integrated login");
        if (!last.passwordCommand.empty() && !last.passwordVariable.empty()) {
            throw std::runtime_error("[" + last.name +
                                     "] has both a password-command and a password-variable");
        }
    }
};

}  // namespace

std::chrono::seconds ParseSeconds(const std::string& text) {
    const auto seconds = ParseNumber<int>(text);
    if (!seconds || *seconds < 0)
        throw std::runtime_error("'" + text + "' is no number of seconds");
    return std::chrono::seconds(*seconds);
}

Encryption ParseEncryption(const std::string& text) {
    if (text == "off") return Encryption::Off;
    if (text == "request") return Encryption::Request;
    if (text == "require") return Encryption::Require;
    throw std::runtime_error("'" + text + "' is none of off, request and require");
}

ConnectionFile ConnectionFile::Parse(const std::string& text, const std::string& name) {
    Reader reader;
    reader.Read(text, name);
    ConnectionFile file;
    file.file_ = name;
    file.exists_ = true;
    file.connections_ = std::move(reader.connections);
    return file;
}

ConnectionFile ConnectionFile::Read(const std::string& file) {
    const std::filesystem::path path =
        file.empty() ? ConfigurationFolder() / "connections.ini" : PathOf(file);
    std::error_code ignored;
    if (file.empty() && !std::filesystem::exists(path, ignored)) {
        ConnectionFile none;
        none.file_ = NameOf(path);
        return none;
    }
    return Parse(QuillonLib::ToUtf8(ReadTextFile(NameOf(path), LongestSettings)), NameOf(path));
}

const NamedConnection& ConnectionFile::Find(const std::string& name) const {
    std::vector<std::string> known;
    for (const NamedConnection& connection : connections_) {
        if (connection.name == name) return connection;
        known.push_back(connection.name);
    }
    throw std::runtime_error("'" + name + "' is neither SERVER/DATABASE nor a connection in " +
                             Printable(file_) +
                             (exists_ ? DidYouMean(name, known) : ", which does not exist"));
}

}  // namespace quillon
