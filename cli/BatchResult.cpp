#include "cli/BatchResult.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "cli/JsonDocument.h"
#include "cli/JsonWriter.h"
#include "cli/Verdict.h"

namespace quillon {

namespace {

std::string SecondsText(double seconds) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.3f", seconds);
    return text;
}

std::size_t CountOf(const std::vector<BatchResult>& results, BatchOutcome outcome) {
    return static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(),
                      [&](const BatchResult& result) { return result.outcome == outcome; }));
}

Colour ColourOf(BatchOutcome outcome) {
    switch (outcome) {
        case BatchOutcome::Identical:
            return Colour::Green;
        case BatchOutcome::Failed:
        case BatchOutcome::BrokenOff:
        case BatchOutcome::NotRun:
            return Colour::Red;
        default:
            return Colour::Yellow;
    }
}

void WriteTextOrNull(JsonWriter& json, const char* name, const std::string& text) {
    json.Name(name);
    if (text.empty()) {
        json.Null();
    } else {
        json.Text(text);
    }
}

}  // namespace

const char* NameOf(BatchOutcome outcome) {
    switch (outcome) {
        case BatchOutcome::NotRun:
            return "not-run";
        case BatchOutcome::Running:
            return "running";
        case BatchOutcome::BrokenOff:
            return "broken-off";
        case BatchOutcome::Failed:
            return "failed";
        case BatchOutcome::Different:
            return "different";
        case BatchOutcome::NotWhole:
            return "not-whole";
        case BatchOutcome::Identical:
            break;
    }
    return "identical";
}

const char* TextOf(BatchOutcome outcome) {
    switch (outcome) {
        case BatchOutcome::NotRun:
            return "not run";
        case BatchOutcome::BrokenOff:
            return "broken off";
        case BatchOutcome::NotWhole:
            return "not compared whole";
        default:
            return NameOf(outcome);
    }
}

int ExitCodeOf(const std::vector<BatchResult>& results) {
    for (const int code : {ExitCode::Failed, ExitCode::Different, ExitCode::NotWhole}) {
        if (std::any_of(results.begin(), results.end(),
                        [&](const BatchResult& result) { return result.exitCode == code; })) {
            return code;
        }
    }
    return ExitCode::Identical;
}

std::string LastLine(const std::vector<BatchResult>& results) {
    std::string line = std::to_string(results.size()) + (results.size() == 1 ? " pair" : " pairs");
    const char* before = ": ";
    for (const BatchOutcome outcome :
         {BatchOutcome::Identical, BatchOutcome::NotWhole, BatchOutcome::Different,
          BatchOutcome::Failed, BatchOutcome::Running, BatchOutcome::BrokenOff,
          BatchOutcome::NotRun}) {
        const std::size_t count = CountOf(results, outcome);
        if (count == 0) continue;
        line += std::exchange(before, ", ") + std::to_string(count) + " " + TextOf(outcome);
    }
    return line;
}

void Print(Console& console, const BatchResult& result) {
    console.Print(console.Coloured(ColourOf(result.outcome),
                                   "[" + result.name + "] " + TextOf(result.outcome)));
    if (!result.summary.empty())
        console.Print(console.Coloured(Colour::None, "    " + result.summary));
    if (!result.results) return;
    for (const ResultLine& line : result.results->lines) {
        const Verdict& verdict = line.verdict;
        // One that is identical, and of which there is no more to say, is counted alone.
        if (verdict.kind == Verdict::Kind::Identical && verdict.drift.empty()) continue;
        console.Print("    " + line.name + ": " + verdict.text);
        for (const std::string& drift : verdict.drift)
            console.Print("      " + drift);
        for (const std::string& what : verdict.notCompared)
            console.Print("      not compared: " + what);
        // Behind a line that names the table once more.
        const std::size_t cause = line.error.find('\n');
        if (cause != std::string::npos)
            console.Print(console.Coloured(Colour::Red, line.error.substr(cause + 1)));
    }
}

std::string JsonLineOf(const BatchResult& result) {
    JsonWriter json(JsonWriter::Layout::Line);
    json.BeginObject().Name("schema").Text(std::string_view("quillon.batch.pair"));
    json.Name("version").Number(JsonVersion);
    json.Name("name").Text(result.name);
    json.Name("position").Number(static_cast<std::int64_t>(result.position) + 1);
    WriteTextOrNull(json, "description", result.description);
    json.Name("outcome").Text(std::string_view(NameOf(result.outcome)));
    const bool ended = result.outcome >= BatchOutcome::Failed;
    json.Name("exitCode")
        .NumberOrNull(ended ? std::optional(std::int64_t{result.exitCode}) : std::nullopt);
    json.Name("seconds").Number(std::string_view(SecondsText(result.seconds)));
    WriteTextOrNull(json, "error", result.error);
    json.Name("notes").BeginArray();
    for (const std::string& note : result.notes)
        json.Text(note);
    json.EndArray();
    WriteTextOrNull(json, "report", result.report);
    json.Name("results");
    if (result.results) {
        WriteResults(json, *result.results, result.results->Shown());
    } else {
        json.Null();
    }
    json.EndObject();
    return json.Take() + "\n";
}

std::string JsonLineOf(const std::vector<BatchResult>& results, const Stopwatch& watch) {
    JsonWriter json(JsonWriter::Layout::Line);
    json.BeginObject().Name("schema").Text(std::string_view("quillon.batch"));
    json.Name("version").Number(JsonVersion);
    json.Name("started").Text(watch.Started());
    json.Name("seconds").Number(std::string_view(SecondsText(watch.Seconds())));
    json.Name("pairs").Number(static_cast<std::int64_t>(results.size()));
    constexpr std::array Counted = {
        std::pair{"identical", BatchOutcome::Identical},
        std::pair{"notWhole", BatchOutcome::NotWhole},
        std::pair{"different", BatchOutcome::Different},
        std::pair{"failed", BatchOutcome::Failed},
        std::pair{"brokenOff", BatchOutcome::BrokenOff},
        std::pair{"notRun", BatchOutcome::NotRun},
    };
    for (const auto& [name, outcome] : Counted)
        json.Name(name).Number(static_cast<std::int64_t>(CountOf(results, outcome)));
    json.Name("exitCode").Number(ExitCodeOf(results));
    json.EndObject();
    return json.Take() + "\n";
}

}  // namespace quillon
