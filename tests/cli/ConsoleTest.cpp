// The streams of the front end, tables, and the place where failures end.
#include "cli/Console.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <new>
#include <stdexcept>

#include "cli/Guarded.h"
#include "cli/Interrupt.h"

namespace quillon {
namespace {

struct Shown {
    std::string out;
    std::string err;
};

Shown Capture(const std::function<void(Console&)>& action) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Console console;
    action(console);
    console.Flush();
    Shown shown;
    shown.out = testing::internal::GetCapturedStdout();
    shown.err = testing::internal::GetCapturedStderr();
    return shown;
}

TEST(Console, PrintsOneLineWhateverItHolds) {
    EXPECT_EQ(Capture([](Console& console) {
                  console.Print("a\nb\x1b[2J");
                  console.Print();
              }).out,
              "a\\nb\\x1B[2J\n\n");
}

TEST(Console, NotesKeepTheirLines) {
    EXPECT_EQ(Capture([](Console& console) { console.Note("a\r\nb\x1b]0;t\x07"); }).err,
              "a\nb\\x1B]0;t\\x07\n");
}

TEST(Console, ColouredTextKeepsItsLinesAndNothingElse) {
    EXPECT_EQ(Capture([](Console& console) {
                  console.Print(console.Coloured(Colour::Red, "a\r\nb\x1b[31m"));
              }).out,
              "a\nb\\x1B[31m\n");
}

TEST(Console, DataIsWrittenAsItIs) {
    const std::string data("a\r\n\x1b\0\xE9", 6);
    EXPECT_EQ(Capture([&](Console& console) { console.PrintData(data); }).out, data);
}

TEST(TextTable, EscapesCellsAndAlignsThemByWhatIsShown) {
    EXPECT_EQ(Capture([](Console& console) {
                  TextTable table({TextTable::Align::Left, TextTable::Align::Left});
                  table.AddRow({{"n\tm"}, {"b"}});
                  table.AddRow({{"1\n2\u202e"}, {"c"}});
                  table.PrintTo(console);
              }).out,
              "n\\tm        b\n1\\n2\\u202E  c\n");
}

// Windows has no signals that a program could send to itself.
#ifndef _WIN32
TEST(TextTable, StopsWhenASignalComes) {
    std::signal(SIGINT, SIG_DFL);  // ignored where a shell started the tests in the background
    const InterruptWatch watch;
    TextTable table({TextTable::Align::Left});
    table.AddRow({{"a"}});
    const Shown shown = Capture([&](Console& console) {
        table.PrintTo(console);
        raise(SIGINT);
        EXPECT_THROW(table.PrintTo(console), Interruption);
    });
    EXPECT_EQ(shown.out, "a\n");
}
#endif

struct Ended {
    int exitCode = 0;
    std::string err;
};

Ended Guard(const std::function<int()>& command) {
    Ended ended;
    ended.err =
        Capture([&](Console& console) { ended.exitCode = RunGuarded(console, command); }).err;
    return ended;
}

TEST(Guarded, TellsOfWhateverIsThrown) {
    const auto expectTold = [](const std::string& text, const std::function<int()>& command) {
        const Ended ended = Guard(command);
        EXPECT_EQ(ended.exitCode, 2);
        EXPECT_EQ(ended.err, text);
    };
    expectTold("quillon: a\nb\n", []() -> int { throw std::runtime_error("a\r\nb"); });
    expectTold("quillon: there is not enough memory\n", []() -> int { throw std::bad_alloc(); });
    expectTold("quillon: a failure of an unknown kind\n", []() -> int { throw 1; });
    expectTold("quillon: nothing was changed\n",
               []() -> int { throw Interruption("nothing was changed"); });
    expectTold("", []() -> int { throw Interruption(); });
    expectTold("quillon: cannot write to standard output: No space left on device\n", []() -> int {
        throw OutputFailure(std::make_error_code(std::errc::no_space_on_device));
    });
    expectTold("",
               []() -> int { throw OutputFailure(std::make_error_code(std::errc::broken_pipe)); });
}

#ifndef _WIN32
TEST(Guarded, KeepsTheExitCodeUnlessASignalHasCome) {
    EXPECT_EQ(Guard([] { return 1; }).exitCode, 1);
    for (const auto& [signal, exitCode] : {std::pair{SIGINT, 130}, std::pair{SIGTERM, 143}}) {
        std::signal(signal, SIG_DFL);
        const InterruptWatch watch;
        EXPECT_EQ(Guard([number = signal] {
                      raise(number);
                      return 0;
                  }).exitCode,
                  exitCode);
        EXPECT_EQ(Guard([]() -> int { throw std::runtime_error("rolled back"); }).exitCode,
                  exitCode);
    }
}
#endif

}  // namespace
}  // namespace quillon
