#include <QuillonLib.h>
#include <direct/DirectComparison.h>
#include <direct/DirectScript.h>

#include <iostream>
#include <string>

using namespace QuillonLib;

namespace {

bool Cuts() {
    const TextArray pieces = Utils().GetSQLStatementsFromScript(u"SELECT 1\r\nGO\r\nSELECT 2");
    return pieces.Items.size() == 2;
}

// An error of the library is caught by its type, wherever the library is.
bool TellsErrors() {
    Database nowhere;
    nowhere.Server(u"127.0.0.1,1");
    try {
        nowhere.Load();
    } catch (const Error& error) {
        std::cout << "As it should be: " << error.what() << '\n';
        return true;
    }
    return false;
}

Database Named(const char* server, const char16_t* name) {
    Database database;
    database.Server(FromUtf8(server));
    database.DatabaseName(name);
    database.Username(u"sa");
    database.Password(u"sandbox");
    return database;
}

bool ComparesDirectly(const char* server) {
    const Database one = Named(server, u"one");
    const Database two = Named(server, u"two");
    DirectScriptWriter writer(two, {});
    DirectSink sink;
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const auto results =
        CompareDirectly(one, two, {{{u"dbo", u"city"}, {}, {}, {}}}, DirectOptions{}, sink);
    std::string script;
    writer.Write(results, [&](std::u16string_view piece) { script += ToUtf8(piece); });
    return results.at(0).differing == 1 && results.at(0).onlyIn1 == 1 &&
           results.at(0).onlyIn2 == 1 && script.find("N'Cairo'") != std::string::npos;
}

}  // namespace

int main(int argc, char** argv) {
    return argc == 2 && Cuts() && TellsErrors() && ComparesDirectly(argv[1]) ? 0 : 1;
}
