// What is left when memory runs out in the middle of reading rows.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "tests/data/ScriptedServer.h"

namespace {

// Allocations of this thread that still succeed; negative: no limit. The server's threads and the
// driver, which does not use operator new, are left alone.
thread_local long allocationsLeft = -1;

void* Allocate(std::size_t size) {
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace QuillonLib {
namespace {

using test::Column;
using test::ScriptedServer;
using test::Type;

class AllocationFailure : public testing::TestWithParam<int> {};

TEST_P(AllocationFailure, LeavesTheRecordsetClosedAndTheConnectionUsable) {
    const int textLength = GetParam();
    ScriptedServer server;
    server.On(u"rows", [=](sandbox::ResultSink& sink) {
        sink.Columns({Column(u"a", Type(sandbox::TypeId::Int)),
                      Column(u"b", Type(sandbox::TypeId::NVarChar, textLength))});
        const sandbox::Cell cells[] = {test::IntegerCell(7),
                                       test::TextCell(u"a text that is long enough")};
        for (int i = 0; i < 3000; ++i) {
            if (!sink.Row(cells)) return;
        }
        sink.StatementDone(3000, true, false);
    });
    const auto connection = server.Connect();
    Recordset rows;
    int failures = 0;
    for (long allowed = 0;; ++allowed) {
        allocationsLeft = allowed;
        bool failed = false;
        try {
            rows.Open(u"rows", connection);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        allocationsLeft = -1;
        if (!failed) break;
        ++failures;
        ASSERT_FALSE(rows.IsOpen());
        ASSERT_TRUE(connection->IsOpen());
        ASSERT_NO_THROW(connection->Execute(u"SELECT 1")) << "after " << allowed << " allocations";
    }
    EXPECT_GT(failures, 10);
    EXPECT_EQ(rows.RecordCount(), 3000U);
}

INSTANTIATE_TEST_SUITE_P(BlocksAndLongCells, AllocationFailure, testing::Values(40, -1));

}  // namespace
}  // namespace QuillonLib
