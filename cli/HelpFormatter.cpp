#include "cli/HelpFormatter.h"

#include "cli/CommandModel.h"

namespace quillon {

namespace {

// Behind the column of names and values, so that a line has less than 100 places.
constexpr std::size_t LineLength = 68;

std::string Joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

std::string Wrapped(const std::string& text) {
    std::string wrapped;
    std::size_t length = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const std::size_t word = end - at;
        if (length > 0) {
            const bool full = length + 1 + word > LineLength;
            wrapped += full ? '\n' : ' ';
            length = full ? 0 : length + 1;
        }
        wrapped.append(text, at, word);
        length += word;
        at = end + 1;
    }
    return wrapped;
}

}  // namespace

std::string HelpFormatter::make_option_name(const CLI::Option* option, bool positional) const {
    return positional ? option->get_name(true, false) : Joined(ModelOf(*option).names, ", ");
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    const OptionModel model = ModelOf(*option);
    if (!model.takesValue || (model.argument && model.value == "TEXT")) return {};
    return " " + (model.choices.empty() ? model.value : Joined(model.choices, "|"));
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
    const OptionModel model = ModelOf(*option);
    return Wrapped(model.description + (model.required && !model.argument ? " (required)" : ""));
}

}  // namespace quillon
