// Reading ahead: order, bounds, letting go, failures.
#include "direct/SideReader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "core/Error.h"
#include "tests/data/ScriptedServer.h"

namespace QuillonLib {
namespace {

using sandbox::ResultSink;
using sandbox::TypeId;
using test::Column;
using test::IntegerCell;
using test::ScriptedServer;
using test::TextCell;
using test::Type;

class SideReaders : public testing::Test {
  protected:
    // 0 to count - 1, each beside 1,000 characters.
    void ServeNumbers(int count, std::int32_t error = 0) {
        sent = 0;
        server.On(u"rows", [=, this](ResultSink& sink) {
            const std::u16string text(1000, u'x');
            sink.Columns({Column(u"Number", Type(TypeId::Int)),
                          Column(u"Text", Type(TypeId::NVarChar, 2000))});
            for (int i = 0; i < count; ++i, ++sent) {
                const sandbox::Cell cells[] = {IntegerCell(i), TextCell(text)};
                if (!sink.Row(cells)) return;
            }
            if (error != 0) return test::SendError(sink, error, u"made to fail");
            sink.StatementDone(count, true, false);
        });
    }

    int CountRows(SideReader& reader) {
        int next = 0;
        while (const auto block = reader.Next()) {
            for (std::size_t row = 0; row < block->RowCount(); ++row)
                EXPECT_EQ(block->Column(0).Long(row), next++);
        }
        return next;
    }

    // Until the server has sent no row for a while.
    void WaitUntilQuiet() const {
        for (int before = -1; before != sent;) {
            before = sent;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    ScriptedServer server;
    std::shared_ptr<Connection> connection = server.Connect();
    std::atomic<int> sent{0};
    SideReader reader;
};

TEST_F(SideReaders, ReadOneQueryAfterAnother) {
    for (const int count : {20000, 1, 0, 3000}) {
        ServeNumbers(count);
        reader.Start(u"rows", connection);
        EXPECT_EQ(CountRows(reader), count);
        EXPECT_EQ(reader.Next(), nullptr);
        connection->Execute(u"the connection is the caller's again");
    }
}

// Nobody takes anything: what is read stays within a few blocks.
// The channel to a server on the host takes all rows at once: nobody is held up there.
#ifndef _WIN32

TEST_F(SideReaders, WaitWhenTheyAreAhead) {
    ServeNumbers(100000);  // 200 MB
    reader.Start(u"rows", connection);
    WaitUntilQuiet();
    EXPECT_GT(sent, 1000);
    EXPECT_LT(sent, 30000);
    EXPECT_EQ(CountRows(reader), 100000);
}

TEST_F(SideReaders, LetGoOfTheRest) {
    ServeNumbers(500000);
    reader.Start(u"rows", connection);
    ASSERT_NE(reader.Next(), nullptr);
    reader.Stop();
    WaitUntilQuiet();
    EXPECT_LT(sent, 100000);
    ServeNumbers(3);
    reader.Start(u"rows", connection);
    EXPECT_EQ(CountRows(reader), 3);
}

TEST_F(SideReaders, LetGoWhenTheyGo) {
    ServeNumbers(500000);
    {
        SideReader another;
        another.Start(u"rows", connection);
    }
    WaitUntilQuiet();
    EXPECT_LT(sent, 100000);
    connection->Execute(u"the connection is the caller's again");
}

#endif

TEST_F(SideReaders, EndWithTheErrorBehindTheRows) {
    ServeNumbers(5000, 8134);
    reader.Start(u"rows", connection);
    EXPECT_THROW(CountRows(reader), Error);
    reader.Stop();
    ServeNumbers(3);
    reader.Start(u"rows", connection);
    EXPECT_EQ(CountRows(reader), 3);
    reader.Start(u"no rows", connection);
    EXPECT_THROW(reader.Next(), Error);
}

}  // namespace
}  // namespace QuillonLib
