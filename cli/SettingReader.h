// The form of the files that a user writes: settings in sections of a name.
//
//     # a comment
//     [sales]
//     setting = the rest of the line
#pragma once

#include <cstddef>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quillon {

// What is wrong with another line than the one that is being read.
class WrongLine : public std::runtime_error {
  public:
    WrongLine(std::size_t line, const std::string& what) : std::runtime_error(what), line_(line) {}
    std::size_t Line() const { return line_; }

  private:
    std::size_t line_;
};

// Reads line by line and hands on what it finds. What it passed over would be a choice that its
// user believes in, so nothing is.
class SettingReader {
  public:
    virtual ~SettingReader() = default;
    // Throws std::runtime_error that names the file (as `name`), the line and what is wrong; what
    // the functions below throw is told in that form, too.
    void Read(const std::string& text, const std::string& name);

  protected:
    virtual void Begin(const std::string& section) = 0;
    // Of the section that was begun last. `value` may be empty: see RequireValue.
    virtual void Set(const std::string& setting, const std::string& value) = 0;
    virtual void End() = 0;

    // From 1.
    std::size_t Line() const { return line_; }
    // Passwords have no place in such files.
    static void RefusePassword(const std::string& setting);
    // Throws for a setting that the section has already, and for one without a value.
    void RequireOnce(const std::string& setting);
    static void RequireValue(const std::string& setting, const std::string& value);

  private:
    void Take(std::string_view line);
    void BeginSection(std::string_view line);

    std::size_t line_ = 0;
    std::set<std::string> sections_;
    std::set<std::string> given_;  // in the section that was begun last
};

// Throws std::runtime_error for a text that is neither "yes" nor "no".
bool ParseYesNo(std::string_view text);

}  // namespace quillon
