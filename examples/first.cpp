// Compares a table:  first SERVER1 DATABASE1 SERVER2 DATABASE2 TABLE USER
// The password is in QUILLON_PASSWORD, and the script for the second goes to standard output.
#include <QuillonLib.h>

#include <cstdlib>
#include <iostream>

using namespace QuillonLib;

int main(int argc, char** argv) try {
    const char* password = std::getenv("QUILLON_PASSWORD");
    if (argc != 7 || password == nullptr) return 2;
    Database databases[2];
    for (int i = 0; i < 2; ++i) {
        databases[i].Server(FromUtf8(argv[1 + 2 * i]));
        databases[i].DatabaseName(FromUtf8(argv[2 + 2 * i]));
        databases[i].Username(FromUtf8(argv[6]));
        databases[i].Password(FromUtf8(password));
    }
    std::vector<DirectTable> tables(1);
    tables[0].name = {u"dbo", FromUtf8(argv[5])};
    DirectScriptWriter script(databases[1], {});
    DirectSink sink;
    sink.Difference = [&](const DirectDifference& row, bool&) { script.Add(row); };
    const auto results = CompareDirectly(databases[0], databases[1], tables, {}, sink);
    if (results[0].error) throw *results[0].error;
    std::cerr << results[0].differing << " differ, " << results[0].onlyIn1 << " only in 1, "
              << results[0].onlyIn2 << " only in 2\n";
    script.Write(results, [](std::u16string_view piece) { std::cout << ToUtf8(piece); });
} catch (const Error& error) {
    std::cerr << "error " << error.Number() << ": " << error.what() << '\n';
    return 2;
}
