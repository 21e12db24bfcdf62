// What a failed comparison leaves in the application event log. This program brings calls to the
// log of its own: they stand in the import table in place of the system's.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "ComparisonFixture.h"

namespace {

struct Entry {
    std::wstring source;
    WORD type;
    std::wstring text;
    bool operator==(const Entry&) const = default;
};

std::vector<Entry> entries;
std::wstring openSource;
bool logIsThere = true;

HANDLE WINAPI Register(LPCWSTR server, LPCWSTR source) {
    EXPECT_EQ(server, nullptr);
    openSource = source;
    return logIsThere ? reinterpret_cast<HANDLE>(1) : nullptr;
}

BOOL WINAPI Report(HANDLE log, WORD type, WORD, DWORD, PSID, WORD count, DWORD dataSize,
                   LPCWSTR* strings, LPVOID) {
    EXPECT_EQ(log, reinterpret_cast<HANDLE>(1));
    EXPECT_EQ(count, 1);
    EXPECT_EQ(dataSize, 0U);
    entries.push_back({openSource, type, strings[0]});
    return TRUE;
}

BOOL WINAPI Deregister(HANDLE log) {
    EXPECT_EQ(log, reinterpret_cast<HANDLE>(1));
    openSource.clear();
    return TRUE;
}

}  // namespace

extern "C" {
extern void* const __imp_RegisterEventSourceW = reinterpret_cast<void*>(Register);
extern void* const __imp_ReportEventW = reinterpret_cast<void*>(Report);
extern void* const __imp_DeregisterEventSource = reinterpret_cast<void*>(Deregister);
}

namespace QuillonLib {
namespace {

class EventLogTest : public ComparisonFixture {
  protected:
    EventLogTest() {
        entries.clear();
        logIsThere = true;
    }
};

TEST_F(EventLogTest, AFailureIsOneEntryAtErrorLevel) {
    RaisedBy([&] { Compare({u"[dbo].[nothing]"}); });
    EXPECT_EQ(entries,
              (std::vector<Entry>{{L"QuillonLib", EVENTLOG_ERROR_TYPE,
                                   L"Error comparing databases one And two\r\n\r\n"
                                   L"Operation is not allowed when the object is closed. (0)"}}));
    EXPECT_EQ(openSource, L"");
}

TEST_F(EventLogTest, AnEntryIsLostWhereTheLogCannotBeReached) {
    logIsThere = false;
    EXPECT_NE(RaisedBy([&] { Compare({u"[dbo].[nothing]"}); }).number, 0);
    EXPECT_TRUE(entries.empty());
}

// The log takes "%1" for a place that it should fill.
TEST_F(EventLogTest, NoPercentSignStandsBeforeADigit) {
    two->DatabaseName(u"100%1%s%%22%");
    one->Password(u"wrong");
    RaisedBy([&] { Compare({}); });
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].text.substr(0, 50),
              L"Error comparing databases one And 100% 1%s%% 22%\r\n");
}

TEST_F(EventLogTest, NothingIsWrittenOfTablesWhoseErrorsAreSuppressed) {
    CompareOne(u"[dbo].[nothing]");
    EXPECT_EQ(processErrors.size(), 1U);
    EXPECT_TRUE(entries.empty());
}

}  // namespace
}  // namespace QuillonLib
