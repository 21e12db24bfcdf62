#include "cli/BatchFile.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <array>
#include <map>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "cli/ConnectionFile.h"
#include "cli/Names.h"
#include "cli/NumberText.h"
#include "cli/Printable.h"
#include "cli/Roads.h"
#include "cli/SettingReader.h"
#include "cli/Suggestion.h"
#include "cli/TemplateFile.h"
#include "cli/TextFile.h"

namespace quillon {

namespace {

using QuillonLib::FoldCase;

constexpr std::size_t MostSlices = 1'000'000;

// Options of `quillon compare` that are about the whole call: a pair that set one would set it for
// all of them.
constexpr std::array<std::string_view, 4> OptionsOfTheCall = {"config", "quiet", "verbose", "log"};

bool IsOptionOfTheCall(std::string_view name) {
    return std::find(OptionsOfTheCall.begin(), OptionsOfTheCall.end(), name) !=
           OptionsOfTheCall.end();
}

struct Setting {
    std::string name;
    std::string value;
    std::size_t line = 0;
};

// Options of comparisons, and the parser that fills them.
struct Parser {
    Parser() : app("") {
        app.set_help_flag();
        options.AddDatabasesTo(app);
        options.AddTablesTo(app);
        options.AddTemplateTo(app);
        options.AddAcceptTo(app);
    }
    void Parse(std::vector<std::string> arguments) {
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
    }

    ComparisonOptions options;
    CLI::App app;
};

struct Kind {
    bool flag = false;
    bool repeated = false;
};

// What may be set, by name.
const std::map<std::string, Kind>& Kinds() {
    static const std::map<std::string, Kind> kinds = [] {
        std::map<std::string, Kind> all = {
            {"description", {}}, {"database1", {}}, {"database2", {}}};
        const Parser parser;
        for (const CLI::Option* option : parser.app.get_options()) {
            if (option->get_lnames().empty() || IsOptionOfTheCall(option->get_lnames().front()))
                continue;
            all[option->get_lnames().front()] = {option->get_items_expected_max() == 0,
                                                 option->get_items_expected_max() > 1};
        }
        return all;
    }();
    return kinds;
}

bool IsArgument(const std::string& name) {
    return name == "database1" || name == "database2";
}

// As the command line has it; nothing for a flag that is not set.
std::vector<std::string> ArgumentsOf(const Setting& setting) {
    if (setting.name == "description" || IsArgument(setting.name)) return {};
    if (!Kinds().at(setting.name).flag) return {"--" + setting.name + "=" + setting.value};
    if (ParseYesNo(setting.value)) return {"--" + setting.name};
    return {};
}

// Errors of the parser name options, which are settings here.
std::string WithoutDashes(std::string text) {
    for (const auto& [name, kind] : Kinds()) {
        const std::string option = "--" + name;
        for (std::size_t at = text.find(option); at != std::string::npos;
             at = text.find(option, at)) {
            text.erase(at, 2);
        }
    }
    return text;
}

// The table that a setting makes a choice for; empty where it makes none. Throws for a text that
// names none, or is no pattern.
std::u16string TableOf(const Setting& setting) {
    const std::string& name = setting.name;
    if (name == "table" || name == "exclude") (void)TablePattern(setting.value);
    const char* const option = name.c_str();
    if (name == "key" || name == "columns") return ParseColumnsChoice(setting.value, option).table;
    if (name == "index") return ParseTableChoice(setting.value, option).table;
    if (name == "where") return ParseTableText(setting.value, option, "TABLE=CONDITION").table;
    return {};
}

class Reader : public SettingReader {
  public:
    explicit Reader(std::string config) : config_(std::move(config)) {
        if (!config_.empty()) connections_ = ConnectionFile::Read(config_);
    }

    std::vector<BatchSetup> setups;

  private:
    void Begin(const std::string& section) override {
        settings_.clear();
        begun_ = Line();
        setups.emplace_back().name = section;
    }
    void Set(const std::string& name, const std::string& value) override {
        RefusePassword(name);
        if (IsOptionOfTheCall(name)) {
            throw std::runtime_error("'" + name +
                                     "' is an option of the command line, not of a pair");
        }
        const auto found = Kinds().find(name);
        if (found == Kinds().end()) {
            std::vector<std::string> known;
            for (const auto& [each, kind] : Kinds())
                known.push_back(each);
            throw std::runtime_error("there is no setting '" + name + "'" +
                                     DidYouMean(name, known));
        }
        if (!found->second.repeated) RequireOnce(name);
        RequireValue(name, value);
        const Setting setting{name, value, Line()};
        Check(setting);
        settings_.push_back(setting);
    }
    void End() override {
        BatchSetup& setup = setups.back();
        RequireDatabases(setup);
        RequireLogins(setup);
        RequireOneRoad();
        Fill(setup);
    }

    static bool ChooseTheSame(const Setting& one, const Setting& other) {
        const auto isKey = [](const std::string& name) { return name == "key" || name == "index"; };
        return one.name == other.name || (isKey(one.name) && isKey(other.name));
    }
    // Everything that can be said of a setting beside those above it.
    void Check(const Setting& setting) {
        try {
            Parser().Parse(ArgumentsOf(setting));
            if (IsArgument(setting.name) || setting.name == "via") (void)LoginAt(setting.value);
            const std::u16string table = TableOf(setting);
            if (table.empty()) return;
            for (const Setting& other : settings_) {
                if (!ChooseTheSame(setting, other) || FoldCase(TableOf(other)) != FoldCase(table))
                    continue;
                throw std::runtime_error(
                    setting.name + ": " + QuillonLib::ToUtf8(table) + " has two choices" +
                    (other.name == setting.name ? "" : ", the other one by " + other.name));
            }
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(WithoutDashes(error.what()));
        }
    }
    // Whether the place of a database brings a login with it. Throws for a place that is none.
    bool LoginAt(const std::string& place) {
        if (place.find('/') != std::string::npos) {
            (void)DatabaseLocation::Parse(place);
            return false;
        }
        if (!connections_) connections_ = ConnectionFile::Read(config_);
        const NamedConnection& connection = connections_->Find(place);
        (void)DatabaseLocation::Parse(connection.server + "/" + connection.database);
        return connection.integrated || !connection.user.empty();
    }
    // Both, which go before those of a template, or with a template none.
    void RequireDatabases(const BatchSetup& setup) const {
        const Setting* const first = Find("database1");
        const Setting* const second = Find("database2");
        if (first != nullptr && second != nullptr) return;
        if (Find("template") == nullptr) {
            throw WrongLine(begun_, "[" + setup.name + "] has no " +
                                        (first == nullptr ? "database1" : "database2"));
        }
        const Setting* const one = first == nullptr ? second : first;
        if (one != nullptr) throw WrongLine(one->line, "the databases are those of the template");
    }
    void RequireLogins(const BatchSetup& setup) {
        const bool login1 = IsOn("integrated") || Find("user") != nullptr;
        const bool login2 = login1 || IsOn("integrated2") || Find("user2") != nullptr;
        const auto require = [&](const Setting& place, const char* database, bool given,
                                 const char* user) {
            if (given || BringsLogin(place)) return;
            throw WrongLine(place.line, "[" + setup.name + "] has no login for " + database +
                                            ": name a connection that has one, or write " + user);
        };
        const auto places = PlacesOf();
        if (!places) return;
        require(places->first, "database1", login1, "user");
        require(places->second, "database2", login2, "user2");
    }
    // Throws WrongLine for a place that is none.
    bool BringsLogin(const Setting& place) {
        try {
            return LoginAt(place.value);
        } catch (const std::runtime_error& error) {
            throw WrongLine(place.line, error.what());
        }
    }
    // Where the databases are, each with the line that says so. Absent for a template that cannot
    // be read, or names none: the pair fails when its turn comes.
    std::optional<std::pair<Setting, Setting>> PlacesOf() const {
        if (Find("database1") != nullptr) return std::pair(*Find("database1"), *Find("database2"));
        const Setting* named = Find("template");
        const Setting* file = Find("templates");
        try {
            const TemplateContents contents =
                TemplateFile::Existing(file == nullptr ? "" : file->value)
                    .Read(QuillonLib::FromUtf8(named->value));
            Setting place1{"database1", QuillonLib::ToUtf8(contents.database1), named->line};
            Setting place2{"database2", QuillonLib::ToUtf8(contents.database2), named->line};
            if (place1.value.empty() || place2.value.empty()) return std::nullopt;
            return std::pair(std::move(place1), std::move(place2));
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            return std::nullopt;
        }
    }
    void RequireOneRoad() const {
        const bool byServer = IsOn("by-server");
        for (const Setting& setting : settings_) {
            Parser parser;
            parser.Parse(ArgumentsOf(setting));
            try {
                RequireRoad(parser.app, byServer);
            } catch (const std::runtime_error& error) {
                throw WrongLine(setting.line, WithoutDashes(error.what()));
            }
        }
    }
    void Fill(BatchSetup& setup) const {
        std::vector<std::string> arguments;
        if (!config_.empty()) arguments.push_back("--config=" + config_);
        for (const Setting& setting : settings_) {
            if (setting.name == "description") setup.description = setting.value;
            for (std::string& argument : ArgumentsOf(setting))
                arguments.push_back(std::move(argument));
        }
        // A place is no option, whatever it begins with.
        if (Find("database1") != nullptr) {
            arguments.emplace_back("--");
            arguments.push_back(Find("database1")->value);
            arguments.push_back(Find("database2")->value);
        }
        Parser parser;
        parser.Parse(std::move(arguments));
        setup.options = parser.options;
    }

    const Setting* Find(const std::string& name) const {
        const auto found = std::find_if(settings_.begin(), settings_.end(),
                                        [&](const Setting& each) { return each.name == name; });
        return found == settings_.end() ? nullptr : &*found;
    }
    bool IsOn(const std::string& flag) const {
        const Setting* setting = Find(flag);
        return setting != nullptr && setting->value == "yes";
    }

    std::string config_;
    std::optional<ConnectionFile> connections_;
    std::vector<Setting> settings_;  // of the section that was begun last
    std::size_t begun_ = 0;          // the line of its name
};

}  // namespace

std::vector<BatchSetup> ParseBatchFile(const std::string& text, const std::string& name,
                                       const std::string& config) {
    Reader reader(config);
    reader.Read(text, name);
    if (reader.setups.empty())
        throw std::runtime_error(Printable(name) + ": there is no [NAME] in it, and so no pair");
    return std::move(reader.setups);
}

std::vector<BatchSetup> ReadBatchFile(const std::string& file, const std::string& config) {
    return ParseBatchFile(QuillonLib::ToUtf8(ReadTextFile(file, LongestSettings)), file, config);
}

BatchSlice ParseBatchSlice(const std::string& text) {
    const std::size_t slash = text.find('/');
    if (slash != std::string::npos) {
        const auto part = ParseNumber<std::size_t>(text.substr(0, slash));
        const auto count = ParseNumber<std::size_t>(text.substr(slash + 1));
        if (part && count && *part >= 1 && *part <= *count && *count <= MostSlices)
            return {*part, *count};
    }
    throw std::runtime_error("'" + text + "' is not PART/COUNT, as in 3/10");
}

}  // namespace quillon
