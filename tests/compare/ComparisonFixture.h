// Two databases, "one" and "two", on one server, and a comparison of them that notes its events.
#pragma once

#include <string>
#include <vector>

#include "compare/Comparison.h"
#include "tests/support/Holds.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {

struct StatusEvent {
    std::u16string message;
    std::int16_t percent = 0;
    bool operator==(const StatusEvent&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const StatusEvent& event) {
    return out << ToUtf8(event.message) << " (" << event.percent << "%)";
}

class ComparisonFixture : public SandboxTest {
  protected:
    ComparisonFixture() {
        server.Run(u"CREATE DATABASE one\nGO\nCREATE DATABASE two");
        one = MakeDatabase(u"one");
        two = MakeDatabase(u"two");
        sink->Status = [this](const std::u16string& message, std::int16_t percent, bool& cancel) {
            statuses.push_back({message, percent});
            if (onStatus) onStatus(message, cancel);
        };
        sink->ProcessError = [this](std::int32_t number, const std::u16string& text, bool& cancel) {
            processErrors.push_back({number, text, {}});
            if (onProcessError) onProcessError(cancel);
        };
        utils.EventSink(sink);
    }

    void RunIn(const std::u16string& database, const std::u16string& sql) {
        server.Run(u"USE " + database + u"\nGO\n" + sql);
    }
    void RunInBoth(const std::u16string& sql) {
        RunIn(u"one", sql);
        RunIn(u"two", sql);
    }

    std::shared_ptr<TableDifferences> Compare(std::vector<std::u16string> tables) {
        return utils.CompareContents(one, two, one, TextArray(std::move(tables)), indexes, columns);
    }
    // The result of one table; an error of the comparison is left in it.
    std::shared_ptr<TableDifference> CompareOne(const std::u16string& table) {
        utils.SuppressCompareProcessErrors(true);
        return Compare({table})->Item(1);
    }
    // What the sink was told of failed tables is this alone.
    void ExpectOneProcessError(std::int32_t number, const std::u16string& description) const {
        ASSERT_EQ(processErrors.size(), 1U);
        EXPECT_EQ(processErrors[0].number, number);
        EXPECT_EQ(processErrors[0].description, description);
    }
    void ChooseColumns(const std::u16string& table, const std::vector<std::u16string>& names) {
        auto choice = std::make_shared<ColumnChoice>();
        for (const auto& name : names)
            choice->Add(name, name);
        columns.Add(choice, table);
    }
    // The batches without those that read the catalog.
    static std::vector<std::u16string> Told(const sandbox::Server& on) {
        std::vector<std::u16string> told;
        for (const auto& batch : Batches(on)) {
            const bool catalog = batch.find(u"sys.objects") != std::u16string::npos ||
                                 batch.find(u"master..sysdatabases") != std::u16string::npos;
            if (!catalog) told.push_back(batch);
        }
        return told;
    }

    // All that is told of a failure before the rows are counted.
    static constexpr const char16_t* ClosedText =
        u"Operation is not allowed when the object is closed.";

    std::shared_ptr<Database> one;
    std::shared_ptr<Database> two;
    IndexChoices indexes;
    ColumnChoices columns;
    Utils utils;
    std::shared_ptr<EventSink> sink = std::make_shared<EventSink>();
    std::vector<StatusEvent> statuses;
    std::vector<Raised> processErrors;
    std::function<void(const std::u16string& message, bool& cancel)> onStatus;
    std::function<void(bool& cancel)> onProcessError;
};

using Texts = std::vector<std::u16string>;

}  // namespace QuillonLib
