#include "ScriptBatches.h"

#include "catalog/Login.h"
#include "data/Connection.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view Separator = u"\r\nGO\r\n";

bool IsBlank(std::u16string_view text) {
    return text.find_first_not_of(u" \t\r\n") == std::u16string_view::npos;
}

// Where the token that begins at `at` ends: a literal, a name, a comment, or one character. A
// doubled closing mark begins the next token of its kind, which comes to the same.
std::size_t EndOfToken(std::u16string_view script, std::size_t at) {
    const auto past = [&](std::u16string_view end) {
        const std::size_t found = script.find(end, at + 1);
        return found == script.npos ? script.size() : found + end.size();
    };
    if (script[at] == u'\'') return past(u"'");
    if (script[at] == u'[') return past(u"]");
    // The line end stays: it may begin a separator.
    if (script.substr(at, 2) == u"--") return past(u"\r\n") - 2;
    return at + 1;
}

}  // namespace

std::vector<std::u16string> BatchesOf(std::u16string_view script) {
    std::vector<std::u16string> batches;
    const auto add = [&](std::u16string_view batch) {
        if (!IsBlank(batch)) batches.emplace_back(batch);
    };
    std::size_t begin = 0;
    for (std::size_t at = 0; at < script.size();) {
        if (script.substr(at, Separator.size()) == Separator) {
            add(script.substr(begin, at - begin));
            at += Separator.size() - 2;
            begin = at;
        } else {
            at = EndOfToken(script, at);
        }
    }
    add(script.substr(begin));
    return batches;
}

void RunScript(const Database& on, std::u16string_view script,
               const std::vector<std::u16string>& first) {
    const auto connection = OpenConnection(on);
    connection->Execute(u"USE [" + on.DatabaseName() + u"]");
    bool begun = false;
    for (const auto& batch : BatchesOf(script)) {
        connection->Execute(batch);
        if (begun) continue;
        begun = true;
        for (const auto& sql : first)
            connection->Execute(sql);
    }
}

}  // namespace QuillonLib
