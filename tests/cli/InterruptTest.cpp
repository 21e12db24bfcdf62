// What SIGINT and SIGTERM do to the program, and where its temporary folder goes.
#include "cli/Interrupt.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/cli/Process.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

// A shell that starts the tests in the background has them ignore SIGINT.
void TakeSignals() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

TEST(Interrupt, TheFirstSignalIsNotedAndTold) {
    TakeSignals();
    EXPECT_FALSE(Interrupted());
    EXPECT_EQ(InterruptExitCode(), 0);
    {
        const InterruptWatch watch;
        EXPECT_FALSE(Interrupted());
        EXPECT_NO_THROW(StopIfInterrupted());
        testing::internal::CaptureStderr();
        raise(SIGTERM);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), ToldOfInterrupt);
        EXPECT_TRUE(Interrupted());
        EXPECT_EQ(InterruptExitCode(), 143);
        EXPECT_THROW(StopIfInterrupted(), Interruption);
        EXPECT_THROW(WaitForInput(STDIN_FILENO), Interruption);
    }
    const InterruptWatch another;
    EXPECT_FALSE(Interrupted());
}

TEST(Interrupt, HandlersAreWhatTheyWereAfterwards) {
    const auto handler = [](int signal) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        return action.sa_handler;
    };
    TakeSignals();
    const auto before = handler(SIGINT);
    {
        const InterruptWatch watch;
        EXPECT_NE(handler(SIGINT), before);
        EXPECT_NE(handler(SIGTERM), before);
    }
    EXPECT_EQ(handler(SIGINT), before);
    EXPECT_EQ(handler(SIGTERM), before);
}

TEST(Interrupt, WaitingForInputEndsWhenThereIsSome) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    const InterruptWatch watch;
    EXPECT_NO_THROW(WaitForInput(ends[0]));
    close(ends[0]);
    close(ends[1]);
}

// A process that waits, in a folder of its own that is its TMPDIR.
class InterruptedProcessTest : public ::testing::Test {
  protected:
    InterruptedProcessTest() {
        TakeSignals();
        std::string name = (fs::temp_directory_path() / "quillon-XXXXXX").string();
        folder = mkdtemp(name.data());
        fs::create_directory(Temporary());
        const std::string pipe = (folder / "pipe").string();
        EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
        writer = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    }
    ~InterruptedProcessTest() override {
        if (writer >= 0) close(writer);
        if (listener >= 0) close(listener);
        fs::remove_all(folder);
    }

    fs::path Temporary() const { return folder / "tmp"; }
    std::map<std::string, std::string> Environment() const {
        return {{"TMPDIR", Temporary().string()},
                {"QUILLON_PASSPHRASE", "secret"},
                {"QUILLON_PASSWORD", "sandbox"}};
    }
    // Waits for its standard input.
    std::vector<std::string> WaitsForInput() const { return {"encrypt"}; }
    Streams FromPipe() const { return {.in = (folder / "pipe").string(), .out = "", .err = ""}; }
    // Waits for the answer of a server that never gives one.
    std::vector<std::string> WaitsForAServer() {
        listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(listen(listener, 1), 0);
        EXPECT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
        return {"databases", "127.0.0.1," + std::to_string(ntohs(address.sin_port)), "--user",
                "sa"};
    }
    // Until the process has registered the driver, and so watches for signals.
    void AwaitRegistration() const {
        for (int i = 0; i < 3000 && fs::is_empty(Temporary()); ++i)
            usleep(10'000);
        EXPECT_FALSE(fs::is_empty(Temporary()));
    }

    fs::path folder;
    int writer = -1;
    int listener = -1;
};

TEST_F(InterruptedProcessTest, EndsInOrderWithTheExitCodeOfTheSignal) {
    for (const auto& [signal, exitCode] : {std::pair{SIGINT, 130}, std::pair{SIGTERM, 143}}) {
        Process process(folder, WaitsForInput(), FromPipe(), Environment());
        AwaitRegistration();
        process.Signal(signal);
        EXPECT_EQ(process.Wait(), exitCode);
        EXPECT_EQ(process.Err(), ToldOfInterrupt);
        EXPECT_EQ(process.Out(), "");
        EXPECT_TRUE(fs::is_empty(Temporary()));
    }
}

TEST_F(InterruptedProcessTest, EndsAtOnceAtTheSecondSignal) {
    Process process(folder, WaitsForAServer(), {}, Environment());
    AwaitRegistration();
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    EXPECT_GE(connection, 0);
    process.Signal(SIGINT);
    EXPECT_TRUE(process.Says(ToldOfInterrupt));
    process.Signal(SIGSTOP);  // it ends by itself otherwise, after a second
    EXPECT_FALSE(fs::is_empty(Temporary()));
    process.Signal(SIGTERM);
    process.Signal(SIGCONT);
    EXPECT_EQ(process.Wait(), -SIGTERM);
    EXPECT_EQ(process.Err(), ToldOfInterrupt);
    EXPECT_TRUE(fs::is_empty(Temporary()));
    close(connection);
}

TEST_F(InterruptedProcessTest, ASignalThatWasIgnoredStaysIgnored) {
    const auto before = std::signal(SIGINT, SIG_IGN);
    Process process(folder, WaitsForInput(), FromPipe(), Environment());
    std::signal(SIGINT, before);
    AwaitRegistration();
    process.Signal(SIGINT);
    usleep(100'000);
    process.Signal(SIGTERM);
    EXPECT_EQ(process.Wait(), 143);
}

TEST_F(InterruptedProcessTest, TheTemporaryFolderIsGoneAfterwards) {
    Process process(folder, {"template", "list"}, {}, Environment());
    EXPECT_EQ(process.Wait(), 2);
    EXPECT_TRUE(fs::is_empty(Temporary()));
}

TEST_F(InterruptedProcessTest, AFileThatNobodyWritesToIsGivenUp) {
    const std::string pipe = (folder / "list.ini").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const auto& arguments : {std::vector<std::string>{"batch", pipe},
                                  {"compare", "a", "b", "--config", pipe},
                                  {"split", pipe},
                                  {"sandbox", "--load", pipe}}) {
        Process process(folder, arguments, {}, Environment());
        AwaitRegistration();
        process.Signal(SIGTERM);
        EXPECT_EQ(process.Wait(), 143) << arguments.front();
        EXPECT_EQ(process.Err(), ToldOfInterrupt) << arguments.front();
        EXPECT_TRUE(fs::is_empty(Temporary())) << arguments.front();
    }
}

TEST_F(InterruptedProcessTest, APasswordCommandThatDoesNotEndIsGivenUp) {
    const fs::path begun = folder / "begun";
    std::ofstream(folder / "c.ini")
        << "[a]\nserver = s\ndatabase = d\nuser = u\n"
        << "password-command = exec 9>" << begun.string() << "; exec sleep 5\n";
    Process process(folder, {"compare", "a", "a", "--config", (folder / "c.ini").string()}, {},
                    Environment());
    while (!fs::exists(begun))
        usleep(10'000);
    const auto start = std::chrono::steady_clock::now();
    process.Signal(SIGTERM);
    EXPECT_EQ(process.Wait(), 143);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(process.Err(), ToldOfInterrupt);
}

TEST_F(InterruptedProcessTest, TheSandboxEndsByASignalAsItShould) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Process process(folder, {"sandbox"}, {}, Environment());
        EXPECT_TRUE(process.Prints("Press Ctrl-C to end it.\n"));
        process.Signal(signal);
        EXPECT_EQ(process.Wait(), 0);
        EXPECT_EQ(process.Err(), "");
        EXPECT_TRUE(fs::is_empty(Temporary()));
    }
}

TEST_F(InterruptedProcessTest, WithoutAFolderForItAnotherServes) {
    auto environment = Environment();
    environment["TMPDIR"] = (folder / "no such folder").string();
    std::ofstream(folder / "s.sql") << "a";
    Process process(folder, {"split", (folder / "s.sql").string()}, {}, environment);
    EXPECT_EQ(process.Wait(), 0);
    EXPECT_EQ(process.Err(), "1 batch\n");
    EXPECT_EQ(process.Out(), "-- batch 1\na\n");
}

class InterruptedPromptTest : public InterruptedProcessTest {
  protected:
    InterruptedPromptTest()
        : process(folder, {"databases", "127.0.0.1,1", "--user", "sa"},
                  {.in = terminal.Path(), .out = terminal.Path(), .err = terminal.Path()},
                  {{"TMPDIR", Temporary().string()}, {"QUILLON_PASSWORD", ""}}) {
        EXPECT_TRUE(terminal.Shows("Password of sa for 127.0.0.1,1: "));
        EXPECT_FALSE(terminal.Echoes());
    }
    Terminal terminal;
    Process process;
};

TEST_F(InterruptedPromptTest, CtrlCEndsItAndTheTerminalEchoesAgain) {
    terminal.Type("sec\x03");
    EXPECT_EQ(process.Wait(), 130);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_TRUE(terminal.Shows("quillon: interrupted; "));
    EXPECT_EQ(terminal.Shown().find("no password"), std::string::npos) << terminal.Shown();
    EXPECT_TRUE(fs::is_empty(Temporary()));
}

TEST_F(InterruptedPromptTest, TheTerminalEchoesAgainAfterTheSecondSignalToo) {
    process.Signal(SIGSTOP);
    process.Signal(SIGINT);
    process.Signal(SIGTERM);
    process.Signal(SIGCONT);
    EXPECT_EQ(process.Wait(), -SIGTERM);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_TRUE(fs::is_empty(Temporary()));
}

// Ctrl-\\ waits for the end of the prompt, and then does what it does.
TEST_F(InterruptedPromptTest, TheTerminalEchoesAgainBeforeTheProcessQuits) {
    const rlimit noCore{0, 0};
    ASSERT_EQ(prlimit(process.Id(), RLIMIT_CORE, &noCore, nullptr), 0);
    terminal.Type("\x1c");
    usleep(100'000);
    EXPECT_FALSE(terminal.Echoes());
    terminal.Type("secret\n");
    EXPECT_EQ(process.Wait(), -SIGQUIT);
    EXPECT_TRUE(terminal.Echoes());
}

TEST_F(InterruptedPromptTest, TheEndOfTheInputIsNoPassword) {
    terminal.Type("\x04");
    EXPECT_EQ(process.Wait(), 2);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_TRUE(terminal.Shows("quillon: no password for sa: set QUILLON_PASSWORD"));
}

TEST_F(InterruptedPromptTest, AnAnswerIsTakenAndNotShown) {
    terminal.Type("secret\n");
    EXPECT_EQ(process.Wait(), 2);  // nobody listens there
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_TRUE(terminal.Shows("quillon: "));
    EXPECT_EQ(terminal.Shown().find("secret"), std::string::npos);
}

}  // namespace
}  // namespace quillon
