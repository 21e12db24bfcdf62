// What the program does when its output cannot be written, and with what a terminal would obey.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "tests/cli/Process.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class StreamsTest : public ProgramTest {
  protected:
    void Write(const char* name, const std::string& content) const {
        std::ofstream(folder / name, std::ios::binary) << content;
    }
    // Commands that write a little and a lot.
    std::vector<std::vector<std::string>> Commands() const {
        Write("big.sql", std::string(1 << 20, 'x'));
        Write("t.xml", "<templates><template id=\"a\"/></templates>");
        return {{"compare", "--by-server", one, two, "--user", "sa"},
                {"rows", "--by-server", "p", one, two, "--user", "sa"},
                {"script", "--by-server", one, two, "--user", "sa", "-o", "-"},
                {"databases", QuillonLib::ToUtf8(server.Address()), "--user", "sa"},
                {"split", File("big.sql")},
                {"template", "--templates", File("t.xml"), "list"},
                {"sandbox"},
                {"--help"}};
    }
    static std::string Joined(const std::vector<std::string>& arguments) {
        std::string text;
        for (const auto& argument : arguments)
            text += argument + " ";
        return text;
    }
};

TEST_F(StreamsTest, AFullDiskIsToldAndIsExitCode2) {
    for (const auto& arguments : Commands()) {
        SCOPED_TRACE(Joined(arguments));
        Process process(folder, arguments, {.in = "", .out = "/dev/full", .err = ""});
        EXPECT_EQ(process.Wait(), 2);
        EXPECT_EQ(process.Err(),
                  "quillon: cannot write to standard output: No space left on device\n");
    }
}

TEST_F(StreamsTest, AReaderThatIsGoneEndsItQuietly) {
    for (const auto& arguments : Commands()) {
        SCOPED_TRACE(Joined(arguments));
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        close(ends[0]);
        Process process(folder, arguments,
                        {.in = "", .out = "fd:" + std::to_string(ends[1]), .err = ""});
        EXPECT_EQ(process.Wait(), 2);
        EXPECT_EQ(process.Err(), "");
        close(ends[1]);
    }
}

TEST_F(StreamsTest, AStandardOutputThatIsClosedIsTold) {
    for (const auto& arguments : Commands()) {
        SCOPED_TRACE(Joined(arguments));
        Process process(folder, arguments, {.in = "", .out = "closed", .err = ""});
        EXPECT_EQ(process.Wait(), 2);
        EXPECT_EQ(process.Err(), "quillon: cannot write to standard output: Bad file descriptor\n");
    }
}

TEST_F(StreamsTest, AFileThatCannotBeWrittenIsToldAndLeftOut) {
    Write("s.sql", "A\r\nGO\r\n" + std::string(1000, 'B'));
    Write("u.sql", "old");
    const auto end = [&](const std::vector<std::string>& arguments) {
        Process process(folder, arguments, {.in = "", .out = "", .err = "", .blocks = 1});
        EXPECT_EQ(process.Wait(), 2);
        return process.Err();
    };
    EXPECT_EQ(end({"script", "--by-server", one, two, "--user", "sa", "-o", File("u.sql")}),
              "quillon: Cannot write the file '" + File("u.sql") + "': File too large\n");
    EXPECT_EQ(Read("u.sql"), "old");
    EXPECT_EQ(end({"split", File("s.sql"), "--out", File("batches")}),
              "quillon: Cannot write the file '" + File("batches/2.sql") + "': File too large\n");
    EXPECT_EQ(Read("batches/1.sql"),
              "\xEF\xBB\xBF"
              "A");
    EXPECT_FALSE(std::filesystem::exists(folder / "batches/2.sql"));
    EXPECT_EQ(end({"split", File("s.sql")}),
              "2 batches\nquillon: cannot write to standard output: File too large\n");
}

TEST_F(StreamsTest, InputThatCannotBeReadIsTold) {
    const auto encrypt = [&](const std::string& in) {
        Process process(folder, {"encrypt"}, {.in = in, .out = "", .err = ""},
                        {{"QUILLON_PASSPHRASE", "secret"}});
        EXPECT_EQ(process.Wait(), 2);
        return process.Err();
    };
    EXPECT_EQ(encrypt("closed"), "quillon: cannot read standard input: Bad file descriptor\n");
    Process split(folder, {"split", folder.string()});
    EXPECT_EQ(split.Wait(), 2);
    EXPECT_EQ(split.Err(), "quillon: cannot read " + folder.string() + ": Is a directory\n");
    Process box(folder, {"sandbox", "--load", File("missing.sql")});
    EXPECT_EQ(box.Wait(), 2);
    EXPECT_EQ(box.Err(),
              "quillon: cannot read " + File("missing.sql") + ": No such file or directory\n");
    Write("latin.sql", "\xE9");
    Process latin(folder, {"sandbox", "--load", File("latin.sql")});
    EXPECT_EQ(latin.Wait(), 2);
    EXPECT_EQ(latin.Err(),
              "quillon: " + File("latin.sql") + " is neither UTF-8 nor marked as UTF-16\n");
}

TEST_F(StreamsTest, DataGoesOutByteForByte) {
    const std::string text = "a\x1b[31m\tb\r\n\u202e\x07" + std::string(1, '\0') + "c";
    Write("s.sql", text);
    Process split(folder, {"split", File("s.sql")});
    EXPECT_EQ(split.Wait(), 0);
    EXPECT_EQ(split.Out(), "-- batch 1\n" + text + "\n");

    Process file(folder, {"script", "--by-server", one, two, "--user", "sa", "-o", File("u.sql"),
                          "--encoding", "utf16", "--no-comments"});
    EXPECT_EQ(file.Wait(), 0);
    Process pipe(folder, {"script", "--by-server", one, two, "--user", "sa", "-o", "-",
                          "--encoding", "utf16", "--no-comments"});
    EXPECT_EQ(pipe.Wait(), 0);
    EXPECT_EQ("\xFF\xFE" + pipe.Out(), Read("u.sql"));
}

TEST_F(StreamsTest, ATerminalGetsNothingThatItObeys) {
    Write("t.xml",
          "<templates><lasttemplate name=\"a\"/><template "
          "id=\"a\u009b31m&#10;\u202eb\"/></templates>");
    Terminal list;
    Process listing(folder, {"template", "--templates", File("t.xml"), "list"},
                    {.in = list.Path(), .out = list.Path(), .err = list.Path()});
    EXPECT_TRUE(list.Shows("b\r\n"));
    EXPECT_EQ(list.Shown(), "  a\\x9B31m\\n\\u202Eb\r\n");
    EXPECT_EQ(listing.Wait(), 0);

    Terminal error;
    Process refused(folder, {"split", "no\x1b[31m\nsuch\u202e"},
                    {.in = error.Path(), .out = error.Path(), .err = error.Path()});
    EXPECT_TRUE(error.Shows("directory\r\n"));
    EXPECT_EQ(error.Shown(),
              "quillon: cannot read no\\x1B[31m\r\nsuch\\u202E: No such file or directory\r\n");
    EXPECT_EQ(refused.Wait(), 2);
}

TEST_F(StreamsTest, ATerminalShowsDataWithEscapesAndSaysSo) {
    Write("s.sql", "a\r\nb\x1b[31m");
    Terminal terminal;
    Process split(folder, {"split", File("s.sql")},
                  {.in = terminal.Path(), .out = terminal.Path(), .err = terminal.Path()});
    EXPECT_TRUE(terminal.Shows("1 batch\r\n"));
    EXPECT_EQ(
        terminal.Shown(),
        "-- batch 1\r\na\r\nb\\x1B[31m\r\nquillon: control characters are shown as \\n, \\x1B "
        "...; a file or a pipe gets them as they are\r\n1 batch\r\n");
    EXPECT_EQ(split.Wait(), 0);
    Write("s.sql", "a\r\nb");
    Terminal plain;
    Process none(folder, {"split", File("s.sql")},
                 {.in = plain.Path(), .out = plain.Path(), .err = plain.Path()});
    EXPECT_TRUE(plain.Shows("1 batch\r\n"));
    EXPECT_EQ(plain.Shown(), "-- batch 1\r\na\r\nb\r\n1 batch\r\n");
}

}  // namespace
}  // namespace quillon
