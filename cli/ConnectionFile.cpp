#include "cli/ConnectionFile.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "cli/NumberText.h"
#include "cli/Paths.h"
#include "cli/Printable.h"
#include "cli/Suggestion.h"
#include "cli/TextFile.h"
#include "core/Text.h"

namespace quillon {

namespace {

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view Blank = " \t\r";
    const std::size_t begin = text.find_first_not_of(Blank);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(Blank) - begin + 1);
}

bool ParseYesNo(std::string_view text) {
    if (text != "yes" && text != "no")
        throw std::runtime_error("'" + std::string(text) + "' is neither yes nor no");
    return text == "yes";
}

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

// Reads line by line. What it passed over would be a choice that its user believes in, so nothing
// is.
class Reader {
  public:
    void Take(std::string_view line) {
        line = Trimmed(line);
        if (line.empty() || line.front() == '#' || line.front() == ';') return;
        if (line.front() == '[') return Begin(line);
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos)
            throw std::runtime_error("'" + std::string(line) + "' is not SETTING = VALUE");
        Set(std::string(Trimmed(line.substr(0, equals))),
            std::string(Trimmed(line.substr(equals + 1))));
    }
    // Called at the end of each connection.
    void End() const {
        if (connections.empty()) return;
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

    std::vector<NamedConnection> connections;

  private:
    void Begin(std::string_view line) {
        End();
        const std::string_view name = Trimmed(line.substr(1, line.size() - 2));
        if (line.back() != ']' || name.empty() || name.find('/') != std::string_view::npos) {
            throw std::runtime_error("'" + std::string(line) +
                                     "' is not [NAME]; a name holds no /");
        }
        for (const NamedConnection& other : connections) {
            if (other.name == name)
                throw std::runtime_error("[" + other.name + "] is there already");
        }
        connections.emplace_back().name = name;
        given_.clear();
    }
    void Set(const std::string& setting, const std::string& value) {
        if (connections.empty())
            throw std::runtime_error("'" + setting + "' stands before the first [NAME]");
        if (setting == "password") {
            throw std::runtime_error(
                "passwords do not belong here; write password-command or password-variable");
        }
        const auto found = Settings().find(setting);
        if (found == Settings().end()) {
            std::vector<std::string> known;
            for (const auto& [name, setter] : Settings())
                known.push_back(name);
            throw std::runtime_error("there is no setting '" + setting + "'" +
                                     DidYouMean(setting, known));
        }
        if (!given_.insert(setting).second)
            throw std::runtime_error("'" + setting + "' is set twice");
        if (value.empty()) throw std::runtime_error("'" + setting + "' has no value");
        found->second(connections.back(), value);
    }

    std::set<std::string> given_;  // of the connection that was begun last
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
    std::size_t number = 0;
    const auto guarded = [&](const auto& action) {
        try {
            action();
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(Printable(name) + ", line " + std::to_string(number) + ": " +
                                     error.what());
        }
    };
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        ++number;
        guarded([&] { reader.Take(std::string_view(text).substr(at, end - at)); });
        at = end + 1;
    }
    guarded([&] { reader.End(); });
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
    return Parse(QuillonLib::ToUtf8(ReadTextFile(NameOf(path))), NameOf(path));
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
