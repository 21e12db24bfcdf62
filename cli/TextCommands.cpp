#include <CLI/App.hpp>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuillonLib.h"
#include "cli/Commands.h"
#include "cli/Environment.h"
#include "cli/ParsedOption.h"
#include "cli/Paths.h"
#include "cli/ScriptFile.h"
#include "cli/TextFile.h"
#include "core/WholeFile.h"

namespace quillon {

namespace {

using namespace QuillonLib;

struct SplitOptions {
    std::string file;
    std::string folder;
    std::string encoding = "utf8";
};

void Split(const SplitOptions& options, Console& console) {
    const auto encoding =
        options.encoding == "utf16" ? ScriptEncoding::Utf16 : ScriptEncoding::Utf8;
    const TextArray pieces = Utils().GetSQLStatementsFromScript(ReadTextFile(options.file));
    // Each is looked at before the first is written.
    std::vector<std::string> batches;
    for (const std::u16string& piece : pieces.Items) {
        if (options.folder.empty() && !IsUtf16(piece)) {
            throw std::runtime_error(
                "the data holds half a surrogate pair, which UTF-8 cannot carry; use --out and "
                "--encoding utf16");
        }
        batches.push_back(EncodeScript(piece, encoding));
    }
    const std::size_t count = batches.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i + 1);
        if (options.folder.empty()) {
            console.PrintData("-- batch " + number + "\n" + batches[i] + "\n");
            continue;
        }
        std::filesystem::create_directories(PathOf(options.folder));
        WriteWholeFile(PathOf(options.folder) / (number + ".sql"), MarkOf(encoding) + batches[i]);
    }
    console.Note(std::to_string(count) + (count == 1 ? " batch" : " batches"));
}

std::u16string DecodeUtf8(std::string_view bytes, const char* what) {
    if (!IsUtf8(bytes)) throw std::runtime_error(std::string(what) + " is not UTF-8");
    return FromUtf8(bytes);
}

std::u16string PassPhrase(Console& console) {
    if (const auto phrase = Environment("QUILLON_PASSPHRASE")) {
        return DecodeUtf8(*phrase, "QUILLON_PASSPHRASE");
    }
    std::string typed;
    try {
        typed = console.AskSecret("Pass phrase: ");
    } catch (const std::runtime_error&) {
        throw std::runtime_error("no pass phrase: set QUILLON_PASSPHRASE in the environment");
    }
    return DecodeUtf8(typed, "what was typed");
}

std::string ReadInput() {
    std::string text = ReadAllInput();
    if (text.ends_with('\n')) text.pop_back();
    return text;
}

void Encrypt(Console& console) {
    const std::u16string phrase = PassPhrase(console);
    std::string hex;
    const std::u16string text = DecodeUtf8(ReadInput(), "the text");
    for (const std::uint8_t byte : Utils().EncryptText(text, phrase).Items) {
        hex += "0123456789abcdef"[byte >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    console.Print(hex);
}

int Digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    throw std::runtime_error(std::string("'") + c + "' is not a hexadecimal digit");
}

void Decrypt(Console& console) {
    const std::u16string phrase = PassPhrase(console);
    const std::string hex = ReadInput();
    if (hex.size() % 2 != 0) throw std::runtime_error("an odd number of hexadecimal digits");
    EncryptedText bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        bytes.Items.push_back(static_cast<std::uint8_t>(Digit(hex[i]) * 16 + Digit(hex[i + 1])));
    }
    const std::u16string text = Utils().DecryptText(bytes, phrase);
    if (!IsUtf16(text))
        throw std::runtime_error("the text holds half a surrogate pair, which UTF-8 cannot carry");
    console.PrintData(ToUtf8(text) + "\n");
}

constexpr const char* Warning =
    "The pass phrase comes from a prompt or from QUILLON_PASSPHRASE. This encryption protects "
    "nothing\nagainst a serious attacker; it is kept for the data that exists.";

}  // namespace

void AddTextCommands(CLI::App& app, Program& program) {
    auto* split = app.add_subcommand("split", "Cut a script into its batches at its GO lines");
    auto cut = std::make_shared<SplitOptions>();
    split->add_option("file", cut->file, "Script, in UTF-8 or UTF-16 with its mark")->required();
    auto* folder = split->add_option("--out", cut->folder,
                                     "Folder for 1.sql, 2.sql ... (default: print them)");
    split->add_option("--encoding", cut->encoding, "Encoding of the files, with its mark")
        ->check(OneOf({"utf8", "utf16"}))
        ->capture_default_str()
        ->needs(folder);
    split->callback([cut, &program] { Split(*cut, program.console); });

    auto* encrypt =
        app.add_subcommand("encrypt", "Encrypt standard input; prints hexadecimal digits");
    encrypt->footer(Warning);
    encrypt->callback([&program] { Encrypt(program.console); });
    auto* decrypt = app.add_subcommand("decrypt", "Decrypt hexadecimal digits from standard input");
    decrypt->footer(Warning);
    decrypt->callback([&program] { Decrypt(program.console); });
}

}  // namespace quillon
