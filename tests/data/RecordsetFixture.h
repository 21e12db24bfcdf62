// A server that answers with rows of the tests' own, and a row set of its answers.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/Text.h"
#include "data/Recordset.h"
#include "tests/data/ScriptedServer.h"

namespace QuillonLib {

// A server that answers "rows" with integers 0 to count - 1 in column "Number" and their text in
// column "Text".
class RecordsetFixture : public testing::Test {
  protected:
    void ServeNumbers(int count, bool longText = false) {
        server.On(u"rows", [=](sandbox::ResultSink& sink) {
            sink.Columns(
                {test::Column(u"Number", test::Type(sandbox::TypeId::Int)),
                 test::Column(u"Text", test::Type(sandbox::TypeId::NVarChar, longText ? -1 : 20))});
            for (int i = 0; i < count; ++i) {
                const std::string digits = std::to_string(i);
                const std::u16string text(digits.begin(), digits.end());
                const sandbox::Cell cells[] = {
                    test::IntegerCell(i), i % 10 == 9 ? test::NullCell() : test::TextCell(text)};
                if (!sink.Row(cells)) return;
            }
            sink.StatementDone(count, true, false);
        });
    }

    // Whether opening the batch ends with an error to which the server gives this number.
    testing::AssertionResult FailsToOpen(std::u16string_view batch, std::int32_t number) {
        try {
            rows.Open(batch, connection);
        } catch (const DataError& error) {
            if (error.HasNativeError(number)) return testing::AssertionSuccess();
            return testing::AssertionFailure() << ToUtf8(error.Description());
        }
        return testing::AssertionFailure()
               << "it was opened, with " << rows.RecordCount() << " rows";
    }

    test::ScriptedServer server;
    std::shared_ptr<Connection> connection = server.Connect();
    Recordset rows;
};

// One column of any type.
class RecordsetOfOneType : public RecordsetFixture {
  protected:
    // The value that a single cell of this type arrives as.
    Value Arrives(sandbox::SqlType type, const sandbox::Cell& cell) {
        server.On(u"cell", [&](sandbox::ResultSink& sink) {
            test::SendRows(sink, {test::Column(u"c", type)}, {{cell}, {test::NullCell()}});
        });
        rows.Open(u"cell", connection);
        typeName = rows.Info(0).typeName;
        const Value value = rows.ValueAt(0, 0);
        EXPECT_EQ(rows.ValueAt(1, 0), Value::Null());
        EXPECT_EQ(rows.Info(0).kind, value.Kind());
        rows.Close();
        return value;
    }

    std::u16string typeName;
};

}  // namespace QuillonLib
