// Ctrl-C while a server is silent, at every place where the program waits for one.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/cli/Process.h"
#include "tests/cli/TwoServers.h"
#include "tests/support/SilentServer.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// A second is promised; the machine may be busy. Time-outs are 15 seconds, and delays a minute.
constexpr auto Soon = 8s;

// Passes the first connections on to a server and leaves the others without an answer.
class Relay {
  public:
    Relay(std::uint16_t to, int passed) : to_(to), passed_(passed) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = Loopback(0);
        socklen_t size = sizeof address;
        auto* const name = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(bind(listener_, name, size), 0);
        EXPECT_EQ(listen(listener_, 16), 0);
        EXPECT_EQ(getsockname(listener_, name, &size), 0);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { Run(); });
    }
    ~Relay() {
        over_ = true;
        thread_.join();
        for (const auto& [near, far] : links_) {
            close(near);
            if (far >= 0) close(far);
        }
        close(listener_);
    }
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    std::string Address() const { return "127.0.0.1," + std::to_string(port_); }
    bool LeavesOneWaiting() const { return accepted_ > passed_; }
    // Passes nothing on any more, as a network that is gone.
    void Freeze() { frozen_ = true; }

  private:
    static sockaddr_in Loopback(std::uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    void Run() {
        while (!over_) {
            if (frozen_) {
                std::this_thread::sleep_for(10ms);
                continue;
            }
            std::vector<pollfd> polled{{listener_, POLLIN, 0}};
            for (const auto& [near, far] : links_) {
                polled.push_back({far < 0 ? -1 : near, POLLIN, 0});
                polled.push_back({far, POLLIN, 0});
            }
            poll(polled.data(), polled.size(), 20);
            for (std::size_t i = 0; i < links_.size(); ++i) {
                auto& [near, far] = links_[i];
                if (polled[1 + 2 * i].revents != 0) Pass(near, far);
                if (polled[2 + 2 * i].revents != 0) Pass(far, near);
            }
            if ((polled[0].revents & POLLIN) != 0) Accept();
        }
    }
    void Accept() {
        const int near = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        int far = -1;
        if (accepted_ < passed_) {
            far = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            const sockaddr_in address = Loopback(to_);
            EXPECT_EQ(connect(far, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        }
        links_.push_back({near, far});
        ++accepted_;
    }
    static void Pass(int from, int& to) {
        std::array<char, 32768> bytes;
        const ssize_t size = read(from, bytes.data(), bytes.size());
        for (ssize_t at = 0; at < size;) {
            const ssize_t sent =
                send(to, bytes.data() + at, static_cast<std::size_t>(size - at), MSG_NOSIGNAL);
            if (sent <= 0) break;
            at += sent;
        }
        if (size <= 0) shutdown(to, SHUT_WR);
        if (size <= 0) std::this_thread::sleep_for(1ms);
    }

    std::uint16_t to_;
    int passed_;
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::vector<std::pair<int, int>> links_;
    std::atomic<int> accepted_ = 0;
    std::atomic<bool> over_ = false;
    std::atomic<bool> frozen_ = false;
    std::thread thread_;
};

class SilentServerTest : public TwoServers {
  protected:
    SilentServerTest() {
        std::signal(SIGINT, SIG_DFL);  // a shell in the background has it ignored
        fs::create_directory(folder / "tmp");
        fs::create_directory(folder / "files");
        PutOldFiles();
    }
    void PutOldFiles() const {
        for (const char* name : {"files/u.1.sql", "files/u.2.sql"})
            std::ofstream(folder / name, std::ios::trunc) << "old";
    }

    std::unique_ptr<Process> Start(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--user", "sa"});
        return std::make_unique<Process>(
            folder, arguments, Streams{},
            std::map<std::string, std::string>{{"TMPDIR", (folder / "tmp").string()},
                                               {"QUILLON_PASSWORD", "sandbox"}});
    }
    // Sends Ctrl-C, and expects the end within about a second, without anything left.
    static void ExpectToEnd(Process& process) {
        const auto begin = std::chrono::steady_clock::now();
        process.Signal(SIGINT);
        EXPECT_EQ(process.Wait(), 130);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, Soon);
    }
    std::ptrdiff_t FilesWritten() const {
        return std::distance(fs::directory_iterator(folder / "files"), {});
    }
    void ExpectNothingLeft() {
        EXPECT_TRUE(fs::is_empty(folder / "tmp"));
        EXPECT_EQ(Read("files/u.1.sql"), "old");
        EXPECT_EQ(Read("files/u.2.sql"), "old");
        EXPECT_EQ(FilesWritten(), 2);
        EXPECT_EQ(ConnectionsLeft(server), 0);
        EXPECT_EQ(ConnectionsLeft(other), 0);
    }

    // Each command; the databases are the last two arguments.
    std::vector<std::vector<std::string>> Commands(const std::string& one,
                                                   const std::string& two) const {
        return {{"compare", one, two},
                {"compare", "--by-server", one, two},
                {"rows", "t", one, two},
                {"script", "-o", File("files/u.sql"), "--to", "both", one, two},
                {"sync", "--to", "2", "--yes", one, two}};
    }
    // Has the second server leave the n-th batch of a command without an answer for a minute.
    // False: the command has fewer, and came to its end.
    bool InterruptAt(const std::vector<std::string>& command, int nth, std::string& err,
                     std::u16string& batch) {
        other.AddFault({.kind = sandbox::FaultKind::Delay, .nth = nth, .delay = 60s});
        other.ClearLog();
        const auto process = Start(command);
        const auto batches = [&] { return static_cast<int>(Batches(other).size()); };
        while (batches() < nth && !HasEnded(process->Id()))
            std::this_thread::sleep_for(10ms);
        if (batches() < nth) {
            other.ClearFaults();
            return false;
        }
        batch = Batches(other).at(static_cast<std::size_t>(nth) - 1);
        if (batch.find(u"COMMIT") != std::u16string::npos) {
            other.ClearFaults();
            return true;
        }
        ExpectToEnd(*process);
        err = process->Err();
        other.ClearFaults();
        return true;
    }
    static bool HasEnded(pid_t id) {
        siginfo_t info{};
        return waitid(P_PID, static_cast<id_t>(id), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == id;
    }
};

TEST_F(SilentServerTest, ALoginThatIsNotAnsweredEndsByCtrlC) {
    const QuillonLib::test::SilentServer silent;
    const std::string database = QuillonLib::ToUtf8(silent.Address()) + "/d";
    for (const auto& [one, two] : {std::pair(database, second), std::pair(first, database)}) {
        for (const auto& command : Commands(one, two)) {
            SCOPED_TRACE(command[0] + " " + command[1]);
            const auto process = Start(command);
            for (int i = 0; i < 1000 && fs::is_empty(folder / "tmp"); ++i)
                std::this_thread::sleep_for(10ms);
            std::this_thread::sleep_for(200ms);
            ExpectToEnd(*process);
            EXPECT_EQ(process->Err(), ToldOfInterrupt);
            EXPECT_EQ(process->Out(), "");
            ExpectNothingLeft();
        }
    }
}

TEST_F(SilentServerTest, AnyLaterLoginThatIsNotAnsweredEndsByCtrlC) {
    for (const std::size_t which : {0U, 1U, 3U, 4U}) {
        PutOldFiles();
        const std::string before = RowsOfT(other);
        int interrupted = 0;
        for (int passed = 1; passed < 50; ++passed) {
            SCOPED_TRACE(std::to_string(which) + ", connections passed: " + std::to_string(passed));
            const Relay relay(other.Port(), passed);
            const std::string through = relay.Address() + "/d";
            // Only the direct road leads through the relay to another server.
            const auto process = which == 1 ? Start(Commands(through, through).at(which))
                                            : Start(Commands(first, through).at(which));
            while (!relay.LeavesOneWaiting() && !HasEnded(process->Id()))
                std::this_thread::sleep_for(10ms);
            if (!relay.LeavesOneWaiting()) break;
            ++interrupted;
            ExpectToEnd(*process);
            if (Holds(process->Err(), "Written: ")) {
                EXPECT_EQ(FilesWritten(), 2);
                break;
            }
            if (Holds(process->Out(), "Committed")) {
                EXPECT_EQ(
                    process->Err(),
                    ToldOfInterrupt + std::string("quillon: the transaction was committed; the "
                                                  "comparison after it was interrupted\n"));
                EXPECT_EQ(RowsOfT(other), "1 same|2 Case|3 gone|");
                break;
            }
            EXPECT_EQ(process->Err().substr(0, std::string(ToldOfInterrupt).size()),
                      ToldOfInterrupt)
                << process->Err();
            EXPECT_EQ(RowsOfT(other), before);
            ExpectNothingLeft();
        }
        EXPECT_GE(interrupted, 2) << which;
    }
}

TEST_F(SilentServerTest, ATransactionWhoseServerIsGoneIsGivenUpByCtrlC) {
    const std::string before = RowsOfT(other);
    for (const char16_t* at : {u"INSERT INTO [dbo].[t]", u"SELECT CONTEXT_INFO()"}) {
        Relay relay(other.Port(), 100);
        const int nth = at[0] == u'I' ? 1 : 2;  // in the transaction
        other.AddFault(
            {.kind = sandbox::FaultKind::Delay, .contains = at, .nth = nth, .delay = 60s});
        other.ClearLog();
        const auto process = Start(Commands(first, relay.Address() + "/d").back());
        ASSERT_TRUE(Gets(other, u"BEGIN TRANSACTION"));
        ASSERT_TRUE(Gets(other, at));
        std::this_thread::sleep_for(300ms);
        relay.Freeze();
        const auto begin = std::chrono::steady_clock::now();
        process->Signal(SIGINT);
        EXPECT_EQ(process->Wait(), 130);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 15s);
        EXPECT_EQ(process->Err(),
                  ToldOfInterrupt +
                      std::string("quillon: the server is silent, and the connection was given "
                                  "up: it rolls everything back\n"));
        other.ClearFaults();
    }
    EXPECT_EQ(ConnectionsLeft(other), 0);
    EXPECT_EQ(RowsOfT(other), before);
}

// Whoever goes away then does not know what has become of it.
TEST_F(SilentServerTest, ACommitIsWaitedFor) {
    const sandbox::Fault slow{
        .kind = sandbox::FaultKind::Delay, .contains = u"COMMIT TRANSACTION", .delay = 8s};
    other.AddFault(slow);
    const auto process = Start(Commands(first, second).back());
    ASSERT_TRUE(Gets(other, slow.contains));
    process->Signal(SIGINT);
    EXPECT_EQ(process->Wait(), 130);
    EXPECT_EQ(process->Err(),
              ToldOfInterrupt + std::string("quillon: the transaction was committed; the "
                                            "comparison after it was interrupted\n"));
    EXPECT_EQ(RowsOfT(other), "1 same|2 Case|3 gone|");
}

TEST_F(SilentServerTest, LinkedServersAreDroppedBeforeTheEnd) {
    sandbox::ServerSettings settings;
    settings.name = u"OTHER";
    sandbox::Server& linked = box.AddServer(settings);
    linked.Run(
        u"CREATE DATABASE b\nGO\nUSE b\nGO\n"
        u"CREATE TABLE p (id int NOT NULL CONSTRAINT PK_p PRIMARY KEY, n nvarchar(20) NULL)");
    const sandbox::Fault slow{
        .kind = sandbox::FaultKind::Delay, .contains = u" UNION SELECT ", .delay = 4s};
    server.AddFault(slow);
    const auto left = [this] {
        return server.Scalar(
            u"SELECT COUNT(*) FROM master..sysservers WHERE srvname LIKE 'KARNOBE%'");
    };
    const std::string address = QuillonLib::ToUtf8(linked.Address()) + "/b";
    const auto process =
        Start({"compare", "--by-server", "--drop-linked-servers", "-t", "p", one, address});
    ASSERT_TRUE(Gets(server, slow.contains)) << process->Err();
    EXPECT_EQ(left(), u"1");
    process->Signal(SIGINT);
    EXPECT_EQ(process->Wait(), 130);
    EXPECT_EQ(left(), u"0");
}

// What the others ask first is what compare asks.
TEST_F(SilentServerTest, AnyBatchThatIsNotAnsweredEndsByCtrlC) {
    int ofCompare = 0;
    for (const std::size_t which : {0U, 3U, 4U}) {
        PutOldFiles();
        const std::vector<std::string> command = Commands(first, second).at(which);
        const std::string before = RowsOfT(other);
        int nth = ofCompare + 1;
        for (;; ++nth) {
            SCOPED_TRACE(command[0] + ", batch " + std::to_string(nth));
            std::string err;
            std::u16string batch;
            if (!InterruptAt(command, nth, err, batch)) break;
            if (batch.find(u"COMMIT") != std::u16string::npos) break;
            ASSERT_TRUE(Holds(err, ToldOfInterrupt)) << err;
            ASSERT_EQ(RowsOfT(other), before) << QuillonLib::ToUtf8(batch);
            // What follows the files are questions for notes.
            if (Holds(err, "Written: ")) {
                EXPECT_EQ(FilesWritten(), 2);
                break;
            }
            EXPECT_EQ(err.substr(0, std::string(ToldOfInterrupt).size()), ToldOfInterrupt);
            EXPECT_FALSE(Holds(err, "given up")) << QuillonLib::ToUtf8(batch);
            ExpectNothingLeft();
            ASSERT_FALSE(HasFailure()) << QuillonLib::ToUtf8(batch);
        }
        EXPECT_GE(nth - ofCompare, which == 0 ? 8 : 4) << command[0];
        if (which == 0) ofCompare = nth - 1;
    }
}

}  // namespace
}  // namespace quillon
