#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/Paths.h"
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

void Write(const std::string& file, const std::string& bytes, const std::string& encoding,
           Console& console) {
    if (file == "-")
        return console.PrintData(std::string_view(bytes).substr(encoding == "utf8" ? 3 : 2));
    QuillonLib::WriteWholeFile(PathOf(file), bytes);
    console.Note("Written: " + file);
}

// "update.sql" for database 2 becomes "update.2.sql".
std::string WithSide(const std::string& file, const char* side) {
    const std::filesystem::path path = PathOf(file);
    std::filesystem::path name = path.stem();
    name += std::string(".") + side;
    name += path.extension();
    return NameOf(path.parent_path() / name);
}

int WriteScripts(const ScriptFileOptions& options, Console& console) {
    options.script.RequireWholeRows(options.comparison);
    const bool both = options.to == "both";
    if (both && options.file == "-") throw CLI::ValidationError("--to both needs a file (-o)");
    const auto comparison = Prepare(options.comparison.Request(console), console);
    const LinkedServerCleanup cleanup(*comparison, console);
    const ScriptPlan plan =
        PlanScripts(*comparison, Run(*comparison, console), options.script.Plan(options.to != "2"));
    const ScriptMaker maker(*comparison, plan, options.script, console);
    const auto encoded = [&](Target target) {
        return Encode(maker.ScriptFor(target), options.encoding);
    };
    if (both) {
        const std::string bytes1 = encoded(Target::Database1);
        const std::string bytes2 = encoded(Target::Database2);
        Write(WithSide(options.file, "1"), bytes1, options.encoding, console);
        Write(WithSide(options.file, "2"), bytes2, options.encoding, console);
    } else {
        Write(options.file, encoded(options.to == "1" ? Target::Database1 : Target::Database2),
              options.encoding, console);
    }
    if (options.to != "2") NoteCascades(plan, *comparison->databases.obDB1, console);
    if (options.to != "1") NoteCascades(plan, *comparison->databases.obDB2, console);
    NoteLeftOut(plan, console);
    return options.comparison.Accepted(plan.GravestCode());
}

}  // namespace

void AddScriptCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("script", "Write the script that makes databases agree");
    command->footer(
        "Exit codes: 0 the script brings everything over; 1 a table that differs has no section, "
        "or "
        "not all of\nits columns (it is named, with the reason); 2 failed; 3 not everything could "
        "be compared.\n"
        "Example:\n  quillon script db1/sales db2/sales --user reader --to 2 -o update.sql");
    auto options = std::make_shared<ScriptFileOptions>();
    options->comparison.AddDatabasesTo(*command);
    options->comparison.AddChoicesTo(*command);
    options->comparison.AddAcceptTo(*command);
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
