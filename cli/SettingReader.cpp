#include "cli/SettingReader.h"

#include <algorithm>

#include "cli/Printable.h"

namespace quillon {

namespace {

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view Blank = " \t\r";
    const std::size_t begin = text.find_first_not_of(Blank);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(Blank) - begin + 1);
}

}  // namespace

bool ParseYesNo(std::string_view text) {
    if (text != "yes" && text != "no")
        throw std::runtime_error("'" + std::string(text) + "' is neither yes nor no");
    return text == "yes";
}

void SettingReader::RefusePassword(const std::string& setting) {
    if (setting == "password") {
        throw std::runtime_error(
            "passwords do not belong here; write password-command or password-variable");
    }
}

void SettingReader::RequireOnce(const std::string& setting) {
    if (!given_.insert(setting).second) throw std::runtime_error("'" + setting + "' is set twice");
}

void SettingReader::RequireValue(const std::string& setting, const std::string& value) {
    if (value.empty()) throw std::runtime_error("'" + setting + "' has no value");
}

void SettingReader::Take(std::string_view line) {
    line = Trimmed(line);
    if (line.empty() || line.front() == '#' || line.front() == ';') return;
    if (line.front() == '[') return BeginSection(line);
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos)
        throw std::runtime_error("'" + std::string(line) + "' is not SETTING = VALUE");
    const std::string setting(Trimmed(line.substr(0, equals)));
    if (sections_.empty())
        throw std::runtime_error("'" + setting + "' stands before the first [NAME]");
    Set(setting, std::string(Trimmed(line.substr(equals + 1))));
}

void SettingReader::BeginSection(std::string_view line) {
    if (!sections_.empty()) End();
    const std::string name(Trimmed(line.substr(1, line.size() - 2)));
    if (line.back() != ']' || name.empty() || name.find('/') != std::string::npos)
        throw std::runtime_error("'" + std::string(line) + "' is not [NAME]; a name holds no /");
    if (!sections_.insert(name).second) throw std::runtime_error("[" + name + "] is there already");
    given_.clear();
    Begin(name);
}

void SettingReader::Read(const std::string& text, const std::string& name) {
    const auto guarded = [&](const auto& action) {
        const auto tell = [&](std::size_t line, const char* what) {
            throw std::runtime_error(Printable(name) + ", line " + std::to_string(line) + ": " +
                                     what);
        };
        try {
            action();
        } catch (const WrongLine& error) {
            tell(error.Line(), error.what());
        } catch (const std::runtime_error& error) {
            tell(line_, error.what());
        }
    };
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        ++line_;
        guarded([&] { Take(std::string_view(text).substr(at, end - at)); });
        at = end + 1;
    }
    if (!sections_.empty()) guarded([&] { End(); });
}

}  // namespace quillon
