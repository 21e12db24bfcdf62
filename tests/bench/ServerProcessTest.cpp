// No process that a benchmark started outlives it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <cstdlib>

#include "bench/BenchSupport.h"

namespace bench {
namespace {

// A pipe whose reader learns when every process that holds the other end has gone.
class Lifeline {
  public:
    Lifeline() {
        if (pipe(ends_) != 0) throw std::runtime_error("pipe");
    }
    ~Lifeline() {
        close(ends_[0]);
        LetGo();
    }
    Lifeline(const Lifeline&) = delete;
    Lifeline& operator=(const Lifeline&) = delete;

    void LetGo() {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }
    // After LetGo(): whether the others go too, within ten seconds.
    bool IsCut() const {
        pollfd end{ends_[0], POLLIN, 0};
        return poll(&end, 1, 10'000) == 1 && (end.revents & POLLHUP) != 0;
    }

  private:
    int ends_[2];
};

enum class Death { Kill, Abort, Exception, Exit, Success };

class ServerProcessTest : public ::testing::TestWithParam<Death> {};

// The benchmark is a process of this test, its server one of the benchmark's.
TEST_P(ServerProcessTest, EndsWithTheBenchmark) {
    Lifeline lifeline;
    const pid_t benchmark = fork();
    ASSERT_GE(benchmark, 0);
    if (benchmark == 0) {
        const ServerProcess server;
        switch (GetParam()) {
            case Death::Kill:
                raise(SIGKILL);
                break;
            case Death::Abort:
                signal(SIGABRT, SIG_DFL);
                std::abort();
            case Death::Exception:
                _exit(ExitStatusOf([]() -> int {
                    const ServerProcess another;
                    throw std::runtime_error("as it should");
                }));
            case Death::Exit:
                _exit(3);
            case Death::Success:
                _exit(ExitStatusOf([] {
                    const ServerProcess another;
                    return 0;
                }));
        }
    }
    lifeline.LetGo();
    int status = 0;
    ASSERT_EQ(waitpid(benchmark, &status, 0), benchmark);
    EXPECT_EQ(WIFSIGNALED(status), GetParam() == Death::Kill || GetParam() == Death::Abort);
    EXPECT_TRUE(lifeline.IsCut());
}

INSTANTIATE_TEST_SUITE_P(Deaths, ServerProcessTest,
                         ::testing::Values(Death::Kill, Death::Abort, Death::Exception, Death::Exit,
                                           Death::Success));

TEST(ServerProcess, EndsWithItsObject) {
    Lifeline lifeline;
    { const ServerProcess server; }
    lifeline.LetGo();
    EXPECT_TRUE(lifeline.IsCut());
}

TEST(ServerProcess, ThatCannotServeIsAnError) {
    Lifeline lifeline;
    EXPECT_THROW(ServerProcess([]() -> std::unique_ptr<sandbox::Backend> {
                     throw std::runtime_error("as it should");
                 }),
                 std::runtime_error);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);  // nor is one left to be waited for
    lifeline.LetGo();
    EXPECT_TRUE(lifeline.IsCut());
}

TEST(ChildProcess, TellsHowItEnded) {
    EXPECT_EQ(ChildProcess([] {}).Wait(), 0);
    const int failed = ChildProcess([] { throw std::runtime_error("as it should"); }).Wait();
    EXPECT_TRUE(WIFEXITED(failed));
    EXPECT_EQ(WEXITSTATUS(failed), 1);
}

}  // namespace
}  // namespace bench
