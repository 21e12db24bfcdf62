// The line of progress while the rows of a direct comparison are read.
#include <gtest/gtest.h>

#include "cli/DirectRun.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

TEST(ProgressText, SaysWhatIsKnown) {
    EXPECT_EQ(ProgressText(0, "read", {}), "0 rows read");
    EXPECT_EQ(ProgressText(999, "read", {std::nullopt, std::nullopt}), "999 rows read");
    EXPECT_EQ(ProgressText(1000, "read", {25, std::nullopt}), "1,000 rows read, 25 rows/s");
    EXPECT_EQ(ProgressText(1234000, "read", {250000, 80s}),
              "1,234,000 rows read, 250,000 rows/s, 1:20 left");
}

TEST(ProgressText, WritesTimes) {
    EXPECT_EQ(ProgressText(1, "read", {1, 0s}), "1 row read, 1 rows/s, 0:00 left");
    EXPECT_EQ(ProgressText(1, "read", {1, 9s}), "1 row read, 1 rows/s, 0:09 left");
    EXPECT_EQ(ProgressText(1, "read", {1, 3599s}), "1 row read, 1 rows/s, 59:59 left");
    EXPECT_EQ(ProgressText(1, "read", {1, 3600s}), "1 row read, 1 rows/s, 1:00:00 left");
    EXPECT_EQ(ProgressText(1, "read", {1, 7505s}), "1 row read, 1 rows/s, 2:05:05 left");
}

}  // namespace
}  // namespace quillon
