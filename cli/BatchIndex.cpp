#include "cli/BatchIndex.h"

#include <algorithm>
#include <array>
#include <set>

#include "cli/Printable.h"
#include "cli/ReportAssets.h"

namespace quillon {

namespace {

constexpr std::size_t LongestName = 80;

constexpr std::string_view Head =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
    "'unsafe-inline'\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
    "<meta name=\"color-scheme\" content=\"light dark\">\n<title>Comparisons</title>\n<style>\n";

// What follows the style of the reports.
constexpr std::string_view Body =
    ".chip.running, .chip.not-run, .chip.broken-off { color: var(--soft); }\n"
    "td.summary { white-space: pre-wrap; overflow-wrap: anywhere; }\n"
    "</style>\n</head>\n<body>\n<main>\n<h1>Comparisons</h1>\n";

// Text that is neither markup nor anything that a browser would hide.
std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : PrintableLines(text)) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&#39;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

// Names that are devices on Windows, and those of index pages.
bool IsTaken(const std::string& name) {
    constexpr std::array<std::string_view, 4> Devices = {"con", "prn", "aux", "nul"};
    const bool numbered = name.size() == 4 && (name.starts_with("com") || name.starts_with("lpt"));
    return numbered || name.starts_with("index") ||
           std::find(Devices.begin(), Devices.end(), name) != Devices.end();
}

std::string Plain(std::string name) {
    name.resize(std::min(name.size(), LongestName));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !IsPlain(c); }, '_');
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return IsTaken(lower) ? "_" + name : name;
}

std::string Line(const BatchResult& result) {
    const std::string name = Escaped(result.name);
    const std::string verdict = NameOf(result.outcome);
    std::string line = "<tr><td class=\"name\">";
    line += result.report.empty() ? name
                                  : "<a href=\"" + Escaped(result.report) + "\">" + name + "</a>";
    if (!result.description.empty())
        line += "<div class=\"soft\">" + Escaped(result.description) + "</div>";
    line += "</td><td class=\"verdict\"><span class=\"chip " + verdict + "\">" +
            TextOf(result.outcome) + "</span></td>";
    line += "<td class=\"name\">" + Escaped(result.place1) + "</td>";
    line += "<td class=\"name\">" + Escaped(result.place2) + "</td>";
    line += "<td class=\"summary\">" + Escaped(result.summary) + "</td></tr>\n";
    return line;
}

}  // namespace

std::vector<std::string> ReportNames(const std::vector<BatchSetup>& setups) {
    std::vector<std::string> names;
    std::set<std::string> taken;
    for (const BatchSetup& setup : setups) {
        const std::string plain = Plain(setup.name);
        std::string name = plain;
        for (std::size_t number = 2;; ++number) {
            std::string lower = name;
            std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
            if (taken.insert(lower).second) break;
            name = plain + "-" + std::to_string(number);
        }
        names.push_back(name + ".html");
    }
    return names;
}

std::string IndexName(const BatchSlice& slice) {
    if (slice.Whole()) return "index.html";
    return "index-" + std::to_string(slice.part) + "-of-" + std::to_string(slice.count) + ".html";
}

std::string IndexPage(const std::vector<BatchResult>& results, const std::string& file,
                      const BatchSlice& slice, const Stopwatch& watch) {
    std::string page(Head);
    page += ReportStyle;
    page += Body;
    page += "<dl class=\"places\"><dt>List</dt><dd class=\"name\">" + Escaped(file) + "</dd>";
    if (!slice.Whole()) {
        page += "<dt>Slice</dt><dd>" + std::to_string(slice.part) + " of " +
                std::to_string(slice.count) + "</dd>";
    }
    page += "<dt>Started</dt><dd>" + watch.Started() + "</dd></dl>\n";
    page += "<p>" + LastLine(results) + "</p>\n";
    page +=
        "<div class=\"wide\"><table>\n<thead><tr><th>Pair</th><th>Verdict</th><th>1</th><th>2</th>"
        "<th></th></tr></thead>\n<tbody>\n";
    for (const BatchResult& result : results)
        page += Line(result);
    page += "</tbody>\n</table></div>\n</main>\n</body>\n</html>\n";
    return page;
}

}  // namespace quillon
