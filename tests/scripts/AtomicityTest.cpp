// A script that fails anywhere leaves the database as it was.
#include <gtest/gtest.h>

#include "ScriptBatches.h"
#include "ScriptsFixture.h"
#include "catalog/Login.h"
#include "data/Recordset.h"

namespace QuillonLib {
namespace {

class AtomicityTest : public ScriptsFixture {
  protected:
    AtomicityTest() {
        RunInBoth(
            u"CREATE TABLE parent (id int IDENTITY NOT NULL CONSTRAINT PK_parent PRIMARY KEY, n "
            u"nvarchar(10) NULL)\nGO\n"
            u"CREATE TABLE child (id int NOT NULL CONSTRAINT PK_child PRIMARY KEY, pid int NOT "
            u"NULL REFERENCES parent)");
        RunIn(u"one",
              u"SET IDENTITY_INSERT parent ON\nINSERT parent (id,n) VALUES (1,N'a'),(2,N'b')\n"
              u"INSERT child VALUES (10,1),(12,2)");
        RunIn(u"two",
              u"SET IDENTITY_INSERT parent ON\nINSERT parent (id,n) VALUES (1,N'x'),(3,N'c')\n"
              u"INSERT child VALUES (10,1),(11,3)");
        script = UpdateScriptsOf({u"[dbo].[child]", u"[dbo].[parent]"}).sRight;
        batches = BatchesOf(script);
    }

    // All rows of both tables, and the procedures that are left.
    std::u16string State() {
        std::u16string state;
        const auto connection = OpenConnection(*two);
        for (const char16_t* sql : {u"SELECT id, n FROM two..parent ORDER BY id",
                                    u"SELECT id, pid FROM two..child ORDER BY id",
                                    u"SELECT name FROM two..sysobjects WHERE xtype='P'"}) {
            Recordset rows;
            rows.Open(sql, connection);
            for (std::size_t row = 0; row < rows.RecordCount(); ++row) {
                for (std::size_t field = 0; field < rows.FieldCount(); ++field)
                    state += DefaultText(rows.ValueAt(row, field)) + u" ";
            }
            state += u";";
        }
        return state;
    }
    void FailAt(std::size_t number, sandbox::FaultKind kind) {
        sandbox::Fault fault = ErrorIn(batches[number]);
        fault.kind = kind;
        server.AddFault(fault);
    }

    std::u16string script;
    std::vector<std::u16string> batches;
};

TEST_F(AtomicityTest, WhateverBatchFailsNothingHasChanged) {
    const std::u16string before = State();
    ASSERT_EQ(before, u"1 x 3 c ;10 1 11 3 ;;");
    ASSERT_EQ(batches.size(), 11U);
    for (const auto kind : {sandbox::FaultKind::Error, sandbox::FaultKind::Drop}) {
        for (std::size_t number = 0; number < batches.size(); ++number) {
            SCOPED_TRACE(number);
            FailAt(number, kind);
            EXPECT_NE(RaisedBy([&] { RunScript(*two, script); }).number, 0);
            server.ClearFaults();
            ASSERT_EQ(ConnectionsLeft(server), 0);
            EXPECT_EQ(State(), before);
        }
    }
    RunScript(*two, script);
    EXPECT_EQ(State(), u"1 a 2 b ;10 1 12 2 ;;");
}

}  // namespace
}  // namespace QuillonLib
