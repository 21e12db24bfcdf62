// What is said of a commit whose answer was lost, whatever becomes of the second look.
#include "cli/SyncEnding.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "QuillonLib.h"
#include "cli/Interrupt.h"

namespace quillon {
namespace {

constexpr const char* NotKnown =
    "quillon: whether the transaction was committed is still not known\n";

class SyncEndingTest : public ::testing::Test {
  protected:
    SyncEndingTest() {
        target.Server(u"s");
        target.DatabaseName(u"d");
    }
    // What LookAgain returns for a second look that does this; what it says is in `told`.
    int Look(const std::function<int()>& compareAgain) {
        testing::internal::CaptureStderr();
        const SyncEnding ending(target, 1, console, compareAgain);
        try {
            const int exitCode = ending.LookAgain(OutcomeUnknown("lost"));
            told = testing::internal::GetCapturedStderr();
            return exitCode;
        } catch (...) {
            told = testing::internal::GetCapturedStderr();
            throw;
        }
    }
    bool Says(const std::string& part) const { return told.find(part) != std::string::npos; }

    QuillonLib::Database target;
    Console console;
    std::string told;
};

TEST_F(SyncEndingTest, ASecondLookThatFailsLeavesTheOutcomeUnknownWhateverFails) {
    const std::vector<std::pair<std::function<int()>, std::string>> failures{
        {[]() -> int { throw QuillonLib::Error(1, u"of the library"); }, "of the library"},
        {[]() -> int { throw std::runtime_error("cannot read the catalog"); },
         "cannot read the catalog"},
        {[]() -> int { throw std::bad_alloc(); }, ""},
        {[]() -> int { throw OutputFailure(std::make_error_code(std::errc::broken_pipe)); },
         "cannot write to standard output: "}};
    for (const auto& [failure, cause] : failures) {
        EXPECT_EQ(Look(failure), 2);
        EXPECT_TRUE(Says("quillon: comparing again failed: " + cause)) << told;
        EXPECT_TRUE(told.ends_with(NotKnown)) << told;
    }
}

TEST_F(SyncEndingTest, OnlyIdenticalDatabasesAreAnAnswer) {
    EXPECT_EQ(Look([] { return 0; }), 0);
    EXPECT_FALSE(Says("still not known")) << told;
    for (const int found : {1, 2, 3}) {
        EXPECT_EQ(Look([&] { return found; }), 2);
        EXPECT_TRUE(told.ends_with(NotKnown)) << told;
    }
}

TEST_F(SyncEndingTest, ASignalDuringTheSecondLookLeavesTheOutcomeUnknown) {
    try {
        Look([]() -> int { throw Interruption(); });
        ADD_FAILURE() << "no interruption";
    } catch (const Interruption& interruption) {
        EXPECT_STREQ(interruption.what(),
                     "whether the transaction was committed is not known; the comparison after it "
                     "was interrupted");
    }
}

}  // namespace
}  // namespace quillon
