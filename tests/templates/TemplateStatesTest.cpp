// Every operation in every state of the store: what it returns or raises, and the state after.
#include <gtest/gtest.h>

#include <map>

#include "TemplateFiles.h"

namespace QuillonLib {
namespace {

constexpr const char* StoredFile =
    "<templates><lasttemplate name=\"Stored\"/><template id=\"Stored\"><tables>"
    "<table id=\"kept\"/></tables></template></templates>";

// How a store got to where it is.
enum class State { Fresh, Loaded, Opened, Bound, ListsLoaded, Changed };

struct Outcome {
    std::string result;  // "true", "false", "done" or the number of the error
    std::u16string current;
    bool dirty = false;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << outcome.result << ", current \"" << ToUtf8(outcome.current) << "\", "
               << (outcome.dirty ? "dirty" : "clean");
}

struct Case {
    State state;
    std::string operation;
    Outcome expected;
};

class TemplateStatesTest : public TemplateFiles, public ::testing::WithParamInterface<Case> {
  protected:
    void Bring(ComparisonTemplates& store, State state) {
        if (state == State::Fresh) return;
        Write(StoredFile);
        store.Load(Path());
        if (state == State::Loaded) return;
        store.Templates();
        if (state == State::Opened) return;
        store.LoadTemplate(u"T");
        if (state == State::Bound) return;
        store.Items(tmpTable);
        store.Items(tmpColumn);
        store.Items(tmpIndex);
        store.Database1();
        if (state == State::ListsLoaded) return;
        store.Add(tmpTable, u"a");
    }

    static std::string Do(ComparisonTemplates& store, const std::string& operation) {
        const auto flag = [](bool value) { return std::string(value ? "true" : "false"); };
        if (operation == "Persist") return flag(store.Persist());
        if (operation == "Flush") return store.Flush(), "done";
        if (operation == "LoadTemplate T") return store.LoadTemplate(u"T"), "done";
        if (operation == "LoadTemplate Stored") return store.LoadTemplate(u"Stored"), "done";
        if (operation == "NewTemplate N") return flag(store.NewTemplate(u"N"));
        if (operation == "RemoveTemplate Stored") return flag(store.RemoveTemplate(u"Stored"));
        if (operation == "Add") return store.Add(tmpTable, u"b"), "done";
        if (operation == "Remove a") return store.Remove(tmpTable, u"a"), "done";
        if (operation == "Items")
            return ToUtf8(ToText(std::get<TextArray>(store.Items(tmpTable)).Items.size()));
        if (operation == "Database1") return ToUtf8(u"\"" + store.Database1() + u"\"");
        if (operation == "Database1 = x") return store.Database1(u"x"), "done";
        ADD_FAILURE() << operation;
        return "";
    }

    static std::string Try(ComparisonTemplates& store, const std::string& operation) {
        try {
            return Do(store, operation);
        } catch (const Error& error) {
            return "error " + std::to_string(error.Number());
        }
    }
};

TEST_P(TemplateStatesTest, Behaves) {
    ComparisonTemplates store;
    Bring(store, GetParam().state);
    const std::string result = Try(store, GetParam().operation);
    EXPECT_EQ((Outcome{result, store.CurrentTemplate(), store.Dirty()}), GetParam().expected)
        << GetParam().operation;
}

// A store without any file opens the default one, beside the program, when it needs one; those
// operations are tried from Loaded on.
INSTANTIATE_TEST_SUITE_P(
    Fresh, TemplateStatesTest,
    ::testing::Values(Case{State::Fresh, "Persist", {"false", u"", false}},
                      Case{State::Fresh, "Flush", {"done", u"", false}},
                      Case{State::Fresh, "Database1 = x", {"done", u"", true}}));

INSTANTIATE_TEST_SUITE_P(
    Loaded, TemplateStatesTest,
    ::testing::Values(Case{State::Loaded, "Persist", {"true", u"Default", false}},
                      Case{State::Loaded, "Flush", {"done", u"", false}},
                      Case{State::Loaded, "LoadTemplate T", {"done", u"T", false}},
                      // the name is not current before the document has been opened
                      Case{State::Loaded, "LoadTemplate Stored", {"done", u"Stored", false}},
                      Case{State::Loaded, "NewTemplate N", {"true", u"N", false}},
                      Case{State::Loaded, "RemoveTemplate Stored", {"true", u"Default", true}},
                      Case{State::Loaded, "Add", {"done", u"Default", true}},
                      Case{State::Loaded, "Remove a", {"error 5", u"Default", false}},
                      Case{State::Loaded, "Items", {"0", u"Default", false}},
                      Case{State::Loaded, "Database1", {"\"\"", u"Default", false}},
                      Case{State::Loaded, "Database1 = x", {"done", u"", true}}));

INSTANTIATE_TEST_SUITE_P(
    Opened, TemplateStatesTest,
    ::testing::Values(Case{State::Opened, "Persist", {"error 91", u"Stored", false}},
                      Case{State::Opened, "Flush", {"done", u"Stored", false}},
                      Case{State::Opened, "LoadTemplate T", {"done", u"T", false}},
                      Case{State::Opened, "LoadTemplate Stored", {"done", u"Stored", false}},
                      Case{State::Opened, "NewTemplate N", {"true", u"N", false}},
                      Case{State::Opened, "RemoveTemplate Stored", {"true", u"Default", true}},
                      Case{State::Opened, "Add", {"error 91", u"Stored", false}},
                      Case{State::Opened, "Remove a", {"error 91", u"Stored", false}},
                      Case{State::Opened, "Items", {"error 91", u"Stored", false}},
                      Case{State::Opened, "Database1", {"error 91", u"Stored", false}},
                      Case{State::Opened, "Database1 = x", {"done", u"Stored", true}}));

INSTANTIATE_TEST_SUITE_P(
    Bound, TemplateStatesTest,
    ::testing::Values(Case{State::Bound, "Persist", {"true", u"T", false}},
                      Case{State::Bound, "Flush", {"done", u"T", false}},
                      Case{State::Bound, "LoadTemplate T", {"done", u"T", false}},
                      Case{State::Bound, "LoadTemplate Stored", {"done", u"Stored", false}},
                      Case{State::Bound, "NewTemplate N", {"true", u"N", false}},
                      Case{State::Bound, "RemoveTemplate Stored", {"true", u"T", true}},
                      Case{State::Bound, "Add", {"done", u"T", true}},
                      Case{State::Bound, "Items", {"0", u"T", false}},
                      Case{State::Bound, "Database1", {"\"\"", u"T", false}}));

INSTANTIATE_TEST_SUITE_P(
    ListsLoaded, TemplateStatesTest,
    ::testing::Values(Case{State::ListsLoaded, "Persist", {"true", u"T", false}},
                      Case{State::ListsLoaded, "Flush", {"done", u"T", false}},
                      Case{State::ListsLoaded, "LoadTemplate Stored", {"done", u"Stored", false}},
                      Case{State::ListsLoaded, "Add", {"done", u"T", true}},
                      Case{State::ListsLoaded, "Remove a", {"error 5", u"T", false}},
                      Case{State::ListsLoaded, "Items", {"0", u"T", false}}));

INSTANTIATE_TEST_SUITE_P(
    Changed, TemplateStatesTest,
    ::testing::Values(Case{State::Changed, "Persist", {"true", u"T", false}},
                      Case{State::Changed, "Flush", {"done", u"T", false}},
                      Case{State::Changed, "LoadTemplate T", {"done", u"T", true}},
                      Case{State::Changed, "LoadTemplate Stored", {"done", u"Stored", false}},
                      Case{State::Changed, "NewTemplate N", {"true", u"N", false}},
                      Case{State::Changed, "RemoveTemplate Stored", {"true", u"T", true}},
                      Case{State::Changed, "Remove a", {"done", u"T", true}},
                      Case{State::Changed, "Items", {"1", u"T", true}},
                      Case{State::Changed, "Database1 = x", {"done", u"T", true}}));

}  // namespace
}  // namespace QuillonLib
