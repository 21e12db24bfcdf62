// The first thing that somebody sees.
#include <gtest/gtest.h>

#include "tests/cli/ProgramCall.h"

namespace quillon {
namespace {

TEST(Demo, ComparesBringsOverAndFindsNothingMore) {
    const Outcome outcome = CallProgram({"demo"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    const std::size_t before = outcome.out.find("8 tables: 2 identical, 6 different\n");
    const std::size_t written = outcome.out.find("\nScript written for world_stale: ");
    const std::size_t after = outcome.out.find("8 tables: 8 identical, 0 different\n");
    const std::size_t byServer = outcome.out.find("8 tables: 0 identical, 6 different, 2 not");
    EXPECT_LT(before, written) << outcome.out;
    EXPECT_LT(written, after) << outcome.out;
    EXPECT_LT(after, byServer) << outcome.out;
    EXPECT_NE(byServer, std::string::npos);
}

}  // namespace
}  // namespace quillon
