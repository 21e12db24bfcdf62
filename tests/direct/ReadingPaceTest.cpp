// The pace of a reading, by a clock that the tests set.
#include "direct/ReadingPace.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

using namespace std::chrono_literals;
using Rate = std::optional<std::uint64_t>;
using Left = std::optional<std::chrono::seconds>;

class Pace : public ::testing::Test {
  protected:
    ReadingPace::Reading At(std::chrono::milliseconds time, std::uint64_t read,
                            std::optional<std::uint64_t> expected = std::nullopt) {
        now_ = ReadingPace::Clock::time_point(time);
        return pace_.At(read, expected);
    }

  private:
    ReadingPace::Clock::time_point now_{};
    ReadingPace pace_{[this] { return now_; }};
};

TEST_F(Pace, IsUnknownBeforeASecondOfReading) {
    EXPECT_EQ(At(0ms, 0, 1000).rowsPerSecond, Rate());
    EXPECT_EQ(At(999ms, 500, 1000).rowsPerSecond, Rate());
    EXPECT_EQ(At(999ms, 500, 1000).left, Left());
    EXPECT_EQ(At(1000ms, 500, 1000).rowsPerSecond, Rate(500));
    EXPECT_EQ(At(1000ms, 500, 1000).left, Left(1s));
}

TEST_F(Pace, TellsNoTimeWithoutKnowingAll) {
    EXPECT_EQ(At(2000ms, 500).rowsPerSecond, Rate(250));
    EXPECT_EQ(At(2000ms, 500).left, Left());
    // the server had counted fewer
    EXPECT_EQ(At(2000ms, 500, 499).left, Left());
    EXPECT_EQ(At(2000ms, 500, 500).left, Left(0s));
}

TEST_F(Pace, RoundsTheTimeUp) {
    EXPECT_EQ(At(1000ms, 100, 101).left, Left(1s));
    EXPECT_EQ(At(1000ms, 100, 8100).left, Left(80s));
    EXPECT_EQ(At(1000ms, 100, 8101).left, Left(81s));
}

TEST_F(Pace, IsThatOfTheLastSeconds) {
    for (int second = 1; second <= 30; ++second)
        At(second * 1000ms, static_cast<std::uint64_t>(second) * 1000);
    for (int second = 31; second <= 50; ++second)
        At(second * 1000ms, 30000 + static_cast<std::uint64_t>(second - 30) * 10);
    EXPECT_EQ(At(51000ms, 30210, 30310).rowsPerSecond, Rate(10));
    EXPECT_EQ(At(51000ms, 30210, 30310).left, Left(10s));
}

TEST_F(Pace, IsUnknownWhileNothingComes) {
    EXPECT_EQ(At(1000ms, 1000).rowsPerSecond, Rate(1000));
    EXPECT_EQ(At(5000ms, 1000, 2000).rowsPerSecond, Rate(200));
    for (int second = 6; second <= 30; ++second)
        At(second * 1000ms, 1000);
    EXPECT_EQ(At(31000ms, 1000, 2000).rowsPerSecond, Rate());
    EXPECT_EQ(At(31000ms, 1000, 2000).left, Left());
}

}  // namespace
}  // namespace QuillonLib
