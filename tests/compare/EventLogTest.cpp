// What a failed comparison leaves in the system log. This program brings a syslog of its own, which
// the library calls in place of the system's.
#include <gtest/gtest.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "ComparisonFixture.h"

namespace {

std::vector<std::pair<int, std::string>> entries;

void Note(int priority, const char* format, va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    entries.emplace_back(priority, text);
}

}  // namespace

extern "C" void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Note(priority, format, arguments);
    va_end(arguments);
}

// What a fortified build calls.
extern "C" void __syslog_chk(int priority, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Note(priority, format, arguments);
    va_end(arguments);
}

namespace QuillonLib {
namespace {

class EventLogTest : public ComparisonFixture {
  protected:
    EventLogTest() { entries.clear(); }
};

TEST_F(EventLogTest, AFailureIsOneEntryAtErrorLevel) {
    RaisedBy([&] { Compare({u"[dbo].[nothing]"}); });
    using Entries = std::vector<std::pair<int, std::string>>;
    EXPECT_EQ(entries, (Entries{{LOG_USER | LOG_ERR,
                                 "Error comparing databases one And two\r\n\r\n"
                                 "Operation is not allowed when the object is closed. (0)"}}));
}

TEST_F(EventLogTest, SignsOfAFormatAreWrittenAsTheyAre) {
    two->DatabaseName(u"100%s %n");
    one->Password(u"wrong");
    RaisedBy([&] { Compare({}); });
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].second.substr(0, 44), "Error comparing databases one And 100%s %n\r\n");
}

TEST_F(EventLogTest, NothingIsWrittenOfTablesWhoseErrorsAreSuppressed) {
    CompareOne(u"[dbo].[nothing]");
    EXPECT_EQ(processErrors.size(), 1U);
    EXPECT_TRUE(entries.empty());
}

}  // namespace
}  // namespace QuillonLib
