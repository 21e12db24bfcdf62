#include "cli/CompareResults.h"

#include <cstdio>

namespace quillon {

std::string UtcText(std::chrono::system_clock::time_point moment) {
    using namespace std::chrono;
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(floor<milliseconds>(moment - day));
    char text[48];
    (void)std::snprintf(
        text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
        static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text;
}

std::string Stopwatch::Started() const {
    return UtcText(started_);
}

double Stopwatch::Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - from_).count();
}

void Print(Console& console, const CompareResults& results, OutputFormat format) {
    switch (format) {
        case OutputFormat::Json:
            return console.PrintData(JsonOf(results));
        case OutputFormat::Csv:
            return console.PrintData(CsvOf(results));
        case OutputFormat::Markdown:
            return console.PrintData(MarkdownOf(results));
        case OutputFormat::Table:
            break;
    }
    PrintResults(console, results.lines, results.All(), results.listing);
}

}  // namespace quillon
