// A tour of the object model: compares two databases, shows what differs, writes the scripts, keeps
// the set-up as a template, and uses the utilities on the way.
//
//   tour SERVER DATABASE1 DATABASE2 USER     (the password is in QUILLON_PASSWORD)
#include <QuillonLib.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

using namespace QuillonLib;

namespace {

std::shared_ptr<Database> Describe(Databases& databases, const char* server, const char* name,
                                   const char* user, const char* password) {
    auto database = databases.Add(FromUtf8(name));  // gives it an ID: 1, 2 ...
    database->Server(FromUtf8(server));
    database->DatabaseName(FromUtf8(name));
    database->Username(FromUtf8(user));
    database->Password(FromUtf8(password));
    database->Description(FromUtf8(name));
    database->CheckDependencies(true);  // scripts are ordered by foreign keys
    database->Load();                   // proves the login; throws if it is refused
    return database;
}

void ShowRows(const char* what, const std::shared_ptr<Recordset>& rows) {
    if (rows == nullptr) return;
    std::cout << "  " << rows->RecordCount() << ' ' << what << '\n';
    if (rows->EndOfSet()) return;
    std::cout << "    first: " << ToUtf8(rows->Fields(0).Name()) << " = ";
    const Value value = rows->Fields(0).Value();
    std::cout << (value.IsNull() ? "NULL" : ToUtf8(DefaultText(value))) << '\n';
}

void Tour(const char* server, const char* name1, const char* name2, const char* user,
          const char* password) {
    Utils utils;
    const auto list = std::make_shared<Databases>();
    const auto one = Describe(*list, server, name1, user, password);
    const auto two = Describe(*list, server, name2, user, password);

    if (const auto names =
            utils.AvailableDatabases(one->Server(), one->Username(), one->Password()))
        std::cout << "The server has " << names->Items.size() << " databases\n";

    // Every table and indexed view of both catalogs takes part.
    TextArray tables;
    for (const auto& table : *one->Tables()) {
        if (!two->Tables()->ItemExists(table->Description())) continue;
        tables.Items.push_back(table->Description());
        std::cout << ToUtf8(table->Description()) << ": " << table->Columns()->Count()
                  << " columns, " << table->Indexes()->Count() << " unique indexes, depends on "
                  << table->ParentDependencies()->Count() << '\n';
    }

    // Progress and errors of single tables arrive as events.
    const auto sink = std::make_shared<EventSink>();
    sink->Status = [](const std::u16string&, std::int16_t percent, bool&) {
        if (percent == 100) std::cout << "100%\n";
    };
    sink->ProcessError = [](std::int32_t number, const std::u16string& text, bool&) {
        std::cout << "Passed over (error " << number << "): " << ToUtf8(text) << '\n';
    };
    utils.EventSink(sink);
    utils.SuppressCompareProcessErrors(true);
    const auto results = utils.CompareContents(one, two, one, tables, {}, {});

    const enShowOptions everything =
        cpoShowIdentical | cpoShowDifferent | cpoShowMissing | cpoShowAdditional;
    for (const auto& result : *results) {
        std::cout << ToUtf8(result->Name()) << ": " << result->RecordsIn1() << " and "
                  << result->RecordsIn2() << " rows, " << result->RecordsDiffering() << " differing"
                  << (result->Identical() ? ", identical" : "") << '\n';
        std::shared_ptr<Recordset> equal, different, right, left;
        std::u16string toTwo, toOne;
        utils.GetRecordsets(one, two, one, result, equal, different, right, left, toTwo, toOne,
                            everything, 0);
        ShowRows("identical", equal);
        ShowRows("differing", different);
        ShowRows("only in the first", right);
        ShowRows("only in the second", left);
    }

    // One script for each direction, for all tables, in one transaction.
    std::u16string toOne, toTwo;
    utils.GetUpdateScripts(one, two, one, results, toOne, toTwo, everything, 0);
    std::cout << utils.GetSQLStatementsFromScript(toTwo).Items.size()
              << " batches would make the second database equal to the first\n";

    // Templates remember databases and picks in an XML file.
    const auto file = std::filesystem::temp_directory_path() / "quillon-tour.xml";
    std::filesystem::remove(file);
    ComparisonTemplates templates;
    templates.Load(file.u16string());
    templates.DatabasesObject(list);
    if (templates.Database1().empty()) templates.Database1(one->Description());
    templates.Database2(two->Description());
    for (const auto& table : tables.Items)
        templates.Add(tmpTable, table);
    templates.NewTemplate(u"Tour");
    std::cout << "Template \"" << ToUtf8(templates.CurrentTemplate()) << "\" holds "
              << std::get<TextArray>(templates.Items(tmpTable)).Items.size() << " tables\n";
    std::filesystem::remove(file);

    const auto secret = utils.EncryptText(u"not a real secret", u"pass phrase");
    std::cout << ToUtf8(utils.DecryptText(secret, u"pass phrase")) << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    const char* password = std::getenv("QUILLON_PASSWORD");
    if (argc != 5 || password == nullptr) {
        std::cerr << "usage: QUILLON_PASSWORD=... tour SERVER DATABASE1 DATABASE2 USER\n";
        return 2;
    }
    try {
        Tour(argv[1], argv[2], argv[3], argv[4], password);
    } catch (const Error& error) {
        std::cerr << "tour: error " << error.Number() << ": " << error.what() << '\n';
        return 1;
    }
}
