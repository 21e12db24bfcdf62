#include <filesystem>
#include <memory>
#include <stdexcept>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/ScriptOptions.h"
#include "core/WholeFile.h"

namespace quillon {

namespace {

struct ScriptFileOptions {
    ComparisonOptions comparison;
    ScriptOptions script;
    std::string to = "2";
    std::string file;
    std::string encoding = "utf8";
};

// With a byte-order mark. UTF-8 has no form for half a surrogate pair, and data may hold one.
std::string Encode(const std::u16string& script, const std::string& encoding) {
    if (encoding == "utf16") {
        std::string bytes = "\xFF\xFE";
        for (const char16_t unit : script) {
            bytes += static_cast<char>(unit & 0xFF);
            bytes += static_cast<char>(unit >> 8);
        }
        return bytes;
    }
    std::string bytes = "\xEF\xBB\xBF" + QuillonLib::ToUtf8(script);
    if (QuillonLib::FromUtf8(std::string_view(bytes).substr(3)) != script) {
        throw std::runtime_error(
            "the data holds half a surrogate pair, which UTF-8 cannot carry; use --encoding utf16");
    }
    return bytes;
}

void Write(const std::string& file, const std::u16string& script, const std::string& encoding,
           Console& console) {
    const std::string bytes = Encode(script, encoding);
    if (file == "-")
        return console.Print(std::string_view(bytes).substr(encoding == "utf8" ? 3 : 2));
    QuillonLib::WriteWholeFile(file, bytes);
    console.Note("Written: " + file);
}

// "update.sql" for database 2 becomes "update.2.sql".
std::string WithSide(const std::string& file, const char* side) {
    const std::filesystem::path path(file);
    return (path.parent_path() / (path.stem().string() + "." + side + path.extension().string()))
        .string();
}

int WriteScripts(const ScriptFileOptions& options, Console& console) {
    const auto comparison = options.comparison.Make(console);
    const auto results = Run(*comparison, console);
    const Scripts scripts = MakeScripts(*comparison, results, options.script, console);
    if (options.to == "both") {
        if (options.file == "-") throw CLI::ValidationError("--to both needs a file (-o)");
        Write(WithSide(options.file, "1"), scripts.left, options.encoding, console);
        Write(WithSide(options.file, "2"), scripts.right, options.encoding, console);
    } else {
        Write(options.file, options.to == "1" ? scripts.left : scripts.right, options.encoding,
              console);
    }
    return NoteFailures(*results, console);
}

}  // namespace

int NoteFailures(const QuillonLib::TableDifferences& results, Console& console) {
    int exitCode = 0;
    for (const auto& result : results) {
        if (result->Error().empty()) continue;
        std::string text = QuillonLib::ToUtf8(result->Error());
        std::erase(text, '\r');
        console.Note("quillon: left out: " + text);
        exitCode = 2;
    }
    return exitCode;
}

void ScriptOptions::AddTo(CLI::App& command) {
    command.add_flag("--no-comments", noComments, "Leave the comment lines out");
    command.add_flag("--ignore-replication-columns", ignoreReplication,
                     "Leave columns named msrepl_tran_version out");
}

QuillonLib::enShowOptions ScriptOptions::Flags() const {
    using namespace QuillonLib;
    enShowOptions flags = cpoShowDifferent | cpoShowMissing | cpoShowAdditional;
    if (noComments) flags = flags | cpoNoScriptComments;
    if (ignoreReplication) flags = flags | cpoIgnoreReplCols;
    return flags;
}

Scripts MakeScripts(const Comparison& comparison,
                    const std::shared_ptr<QuillonLib::TableDifferences>& results,
                    const ScriptOptions& options, Console& console) {
    QuillonLib::Utils utils;
    utils.EventSink(ProgressSink(console));
    Scripts scripts;
    const auto& [obDB1, obDB2, obDB3] = comparison.databases;
    utils.GetUpdateScripts(obDB1, obDB2, obDB3, results, scripts.left, scripts.right,
                           options.Flags(), 0);
    console.ClearProgress();
    return scripts;
}

void AddScriptCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("script", "Write the script that makes databases agree");
    command->footer(
        "Example:\n  quillon script db1/sales db2/sales --user reader --to 2 -o update.sql");
    auto options = std::make_shared<ScriptFileOptions>();
    options->comparison.AddTo(*command);
    options->script.AddTo(*command);
    command->add_option("--to", options->to, "Database that the script is to be run on")
        ->check(CLI::IsMember({"1", "2", "both"}))
        ->capture_default_str();
    command->add_option("-o,--output", options->file, "File to write, or - for standard output")
        ->required();
    command->add_option("--encoding", options->encoding, "Encoding of the file, with its mark")
        ->check(CLI::IsMember({"utf8", "utf16"}))
        ->capture_default_str();
    command->callback(
        [options, &program] { program.exitCode = WriteScripts(*options, program.console); });
}

}  // namespace quillon
