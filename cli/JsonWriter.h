// Writes JSON (RFC 8259) piece by piece. Text is UTF-8 without a character that a terminal would
// obey or hide: such characters, and halves of surrogate pairs, are \uXXXX, so that every text of
// UTF-16 units comes back from a reader that takes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

class JsonWriter {
  public:
    enum class Layout {
        Line,   // no line end
        Lines,  // each member and element on a line of its own
    };
    enum class Target {
        Text,
        // Within an element of HTML: no "<", which could end the element.
        Html,
    };

    explicit JsonWriter(Layout layout = Layout::Line, Target target = Target::Text)
        : layout_(layout), target_(target) {}

    // In the order of the document; a member's name comes before its value.
    JsonWriter& BeginObject() { return Begin('{'); }
    JsonWriter& EndObject() { return End('}'); }
    JsonWriter& BeginArray() { return Begin('['); }
    JsonWriter& EndArray() { return End(']'); }
    JsonWriter& Name(std::u16string_view name);
    JsonWriter& Name(std::string_view utf8);

    JsonWriter& Text(std::u16string_view text);
    JsonWriter& Text(std::string_view utf8);
    JsonWriter& Number(std::int64_t number);
    // A number as JSON writes it.
    JsonWriter& Number(std::string_view number);
    JsonWriter& Boolean(bool value);
    JsonWriter& Null();
    // null for what is not there.
    JsonWriter& NumberOrNull(std::optional<std::int64_t> number);

    // What has been written since the last call.
    std::string Take();

  private:
    JsonWriter& Begin(char bracket);
    JsonWriter& End(char bracket);
    void Separate();
    void BreakLine();
    void WriteText(std::u16string_view text);

    Layout layout_;
    Target target_;
    std::string out_;
    std::vector<bool> filled_;  // by open bracket: whether it holds something
    bool named_ = false;        // a name stands in front
};

}  // namespace quillon
