#include "data/RowStream.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "sandbox/text/Collations.h"
#include "tests/data/ScriptedServer.h"

namespace QuillonLib {
namespace {

using sandbox::ResultSink;
using sandbox::TypeId;
using test::Column;
using test::DataCell;
using test::IntegerCell;
using test::ScriptedServer;
using test::SendRows;
using test::TextCell;
using test::Type;

class RowStreamTest : public testing::Test {
  protected:
    // 0 to count - 1; with an error behind them if it has a number.
    void ServeNumbers(int count, std::int32_t error = 0, int textLength = 20) {
        server.On(u"rows", [=](ResultSink& sink) {
            sink.Columns({Column(u"Number", Type(TypeId::Int)),
                          Column(u"Text", Type(TypeId::NVarChar, textLength))});
            for (int i = 0; i < count; ++i) {
                const sandbox::Cell cells[] = {IntegerCell(i), TextCell(u"text")};
                if (!sink.Row(cells)) return;
            }
            if (error != 0) return test::SendError(sink, error, u"made to fail");
            sink.StatementDone(count, true, false);
        });
    }

    // The rows that come, in their blocks; checks that they count up.
    static int CountRows(RowStream& stream, std::size_t& blocks) {
        int next = 0;
        blocks = 0;
        while (const auto block = stream.Next()) {
            ++blocks;
            for (std::size_t row = 0; row < block->RowCount(); ++row)
                EXPECT_EQ(block->Column(0).Long(row), next++);
        }
        return next;
    }

    ScriptedServer server;
    std::shared_ptr<Connection> connection = server.Connect();
};

TEST_F(RowStreamTest, ReadsBlockByBlock) {
    ServeNumbers(5000);
    RowStream stream(u"rows", connection);
    ASSERT_EQ(stream.Fields().size(), 2U);
    EXPECT_EQ(stream.Fields()[1].name, u"Text");
    std::size_t blocks = 0;
    EXPECT_EQ(CountRows(stream, blocks), 5000);
    EXPECT_GT(blocks, 3U);
    EXPECT_EQ(stream.Next(), nullptr);
}

TEST_F(RowStreamTest, ReadsLongColumns) {
    ServeNumbers(1000, 0, -1);
    RowStream stream(u"rows", connection);
    std::size_t blocks = 0;
    EXPECT_EQ(CountRows(stream, blocks), 1000);
    EXPECT_GT(blocks, 2U);
}

TEST_F(RowStreamTest, KeepsNothingThatItsReaderLetGo) {
    ServeNumbers(3000);
    RowStream stream(u"rows", connection);
    std::weak_ptr<const RowBlock> first = stream.Next();
    EXPECT_TRUE(first.expired());
    const auto second = stream.Next();
    stream.Next();
    EXPECT_EQ(second->Column(0).Long(0), static_cast<std::int32_t>(second->FirstRow()));
}

TEST_F(RowStreamTest, DeliversTheBytesOfACodePage) {
    const std::u16string text = u"a\u20AC";
    server.On(u"rows", [&](ResultSink& sink) {
        sandbox::SqlType type = Type(TypeId::VarChar, 10);
        ASSERT_TRUE(sandbox::FindCollation(u"Latin1_General_CI_AS", 10, type.collation));
        SendRows(sink, {Column(u"a", type)}, {{TextCell(text)}, {test::NullCell()}});
    });
    RowStream stream(u"rows", connection);
    const auto block = stream.Next();
    ASSERT_EQ(block->RowCount(), 2U);
    ASSERT_EQ(block->Column(0).Kind(), ValueKind::Bytes);
    const auto bytes = block->Column(0).Bytes(0);
    EXPECT_EQ(ByteArray(bytes.begin(), bytes.end()), (ByteArray{0x61, 0x80}));
    EXPECT_TRUE(block->Column(0).IsNull(1));
}

TEST_F(RowStreamTest, EndsWithTheErrorThatEndedTheRows) {
    ServeNumbers(2000, 8134);
    RowStream stream(u"rows", connection);
    std::size_t blocks = 0;
    EXPECT_THROW(CountRows(stream, blocks), Error);
    EXPECT_EQ(stream.Next(), nullptr);
}

TEST_F(RowStreamTest, NeedsARowSet) {
    EXPECT_THROW(RowStream(u"nothing", connection), Error);
    EXPECT_THROW(RowStream(u"rows", nullptr), Error);
}

// A table of any size may be let go of after its first rows.
// The channel to a server on the host takes all rows at once: nobody is held up there.
#ifndef _WIN32

TEST_F(RowStreamTest, HasTheServerStopWhenItIsLetGo) {
    constexpr int Count = 2000000;
    std::atomic<int> sent{0};
    std::atomic<bool> ended{false};
    server.On(u"rows", [&](ResultSink& sink) {
        sink.Columns({Column(u"Number", Type(TypeId::Int))});
        const sandbox::Cell cell = IntegerCell(1);
        while (sent < Count && sink.Row(&cell))
            ++sent;
        sink.StatementDone(sent, true, false);
        ended = true;
    });
    {
        RowStream stream(u"rows", connection);
        ASSERT_NE(stream.Next(), nullptr);
    }
    while (!ended)
        std::this_thread::yield();
    EXPECT_LT(sent, Count);
}

#endif

TEST_F(RowStreamTest, LeavesItsConnectionUsableWhenItIsLetGo) {
    ServeNumbers(100000);
    {
        RowStream stream(u"rows", connection);
        ASSERT_NE(stream.Next(), nullptr);
    }
    ServeNumbers(3);
    RowStream again(u"rows", connection);
    std::size_t blocks = 0;
    EXPECT_EQ(CountRows(again, blocks), 3);
}

}  // namespace
}  // namespace QuillonLib
