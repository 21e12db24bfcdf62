#include <windows.h>
// after windows.h
#include <shellapi.h>

#include <string>
#include <vector>

#include "cli/Commands.h"
#include "cli/StandardStreams.h"
#include "core/Text.h"

namespace {

// An argument in UTF-8. One with half a surrogate pair stays recognisable as none.
std::string ArgumentOf(const wchar_t* text) {
    const std::u16string units(reinterpret_cast<const char16_t*>(text));
    std::string utf8 = QuillonLib::ToUtf8(units);
    return QuillonLib::FromUtf8(utf8) == units ? utf8 : utf8 + '\xFF';
}

// The command line as the user gave it: the arguments of main() are in the system's code page.
std::vector<std::string> Arguments() {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** const texts = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; texts != nullptr && i < count; ++i)
        arguments.push_back(ArgumentOf(texts[i]));
    LocalFree(texts);
    return arguments;
}

}  // namespace

int main() {
    quillon::SecureStandardStreams();
    const std::vector<std::string> arguments = Arguments();
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    return quillon::CloseStandardOutput(
        quillon::RunProgram(static_cast<int>(pointers.size()), pointers.data()));
}
