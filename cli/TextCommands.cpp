#include <CLI/App.hpp>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "QuillonLib.h"
#include "cli/Commands.h"
#include "cli/Environment.h"
#include "cli/Paths.h"
#include "cli/TextFile.h"
#include "core/WholeFile.h"

namespace quillon {

namespace {

using namespace QuillonLib;

void Split(const std::string& file, const std::string& folder, Console& console) {
    const TextArray pieces = Utils().GetSQLStatementsFromScript(ReadTextFile(file));
    int number = 0;
    for (const std::u16string& piece : pieces.Items) {
        ++number;
        if (folder.empty()) {
            console.PrintData("-- batch " + std::to_string(number) + "\n" + ToUtf8(piece) + "\n");
            continue;
        }
        std::filesystem::create_directories(PathOf(folder));
        WriteWholeFile(PathOf(folder) / (std::to_string(number) + ".sql"), ToUtf8(piece));
    }
    console.Note(std::to_string(number) + (number == 1 ? " batch" : " batches"));
}

std::u16string DecodeUtf8(std::string_view bytes, const char* what) {
    if (!IsUtf8(bytes)) throw std::runtime_error(std::string(what) + " is not UTF-8");
    return FromUtf8(bytes);
}

std::u16string PassPhrase(Console& console) {
    if (const auto phrase = Environment("QUILLON_PASSPHRASE")) {
        return DecodeUtf8(*phrase, "QUILLON_PASSPHRASE");
    }
    try {
        return FromUtf8(console.AskSecret("Pass phrase: "));
    } catch (const std::runtime_error&) {
        throw std::runtime_error("no pass phrase: set QUILLON_PASSPHRASE in the environment");
    }
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
    console.PrintData(ToUtf8(Utils().DecryptText(bytes, phrase)) + "\n");
}

constexpr const char* Warning =
    "The pass phrase comes from a prompt or from QUILLON_PASSPHRASE. This encryption protects "
    "nothing\nagainst a serious attacker; it is kept for the data that exists.";

}  // namespace

void AddTextCommands(CLI::App& app, Program& program) {
    auto* split = app.add_subcommand("split", "Cut a script into its batches at its GO lines");
    auto file = std::make_shared<std::string>();
    auto folder = std::make_shared<std::string>();
    split->add_option("file", *file, "Script, in UTF-8 or UTF-16 with its mark")->required();
    split->add_option("--out", *folder, "Folder for 1.sql, 2.sql ... (default: print them)");
    split->callback([file, folder, &program] { Split(*file, *folder, program.console); });

    auto* encrypt =
        app.add_subcommand("encrypt", "Encrypt standard input; prints hexadecimal digits");
    encrypt->footer(Warning);
    encrypt->callback([&program] { Encrypt(program.console); });
    auto* decrypt = app.add_subcommand("decrypt", "Decrypt hexadecimal digits from standard input");
    decrypt->footer(Warning);
    decrypt->callback([&program] { Decrypt(program.console); });
}

}  // namespace quillon
