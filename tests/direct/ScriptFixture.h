// Scripts that are written from a comparison, and run as a client runs them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "catalog/Login.h"
#include "data/Connection.h"
#include "direct/DirectScript.h"
#include "tests/direct/DirectFixture.h"

namespace QuillonLib {

class ScriptFixture : public DirectFixture {
  protected:
    // Compares, and writes the script that makes the target the other side.
    std::u16string Script(const std::vector<std::u16string>& names) {
        std::vector<DirectTable> tables;
        for (const std::u16string& name : names)
            tables.push_back({{u"dbo", name}, {}, keyColumns, {}});
        DirectScriptWriter writer(scripted.target == 1 ? *one : *two, scripted);
        sink.Difference = [&](const DirectDifference& difference, bool&) {
            writer.Add(difference);
        };
        const auto results = Compare(tables);
        sink.Difference = {};
        for (const DirectTableResult& result : results)
            EXPECT_TRUE(result.complete) << ToUtf8(result.error->Description());
        std::u16string script;
        writer.Write(results, [&](std::u16string_view piece) { script += piece; });
        return script;
    }

    // Every script ends with "GO".
    static Texts BatchesOf(const std::u16string& script) {
        Texts batches;
        std::size_t from = 0;
        while (from < script.size()) {
            const std::size_t go = script.find(u"\r\nGO\r\n", from);
            if (go == std::u16string::npos) {
                ADD_FAILURE() << "no GO at the end";
                return batches;
            }
            batches.push_back(script.substr(from, go - from));
            from = go + 6;
        }
        return batches;
    }

    // Runs every batch whatever becomes of the others, as clients do. The texts of the errors.
    Texts Run(const std::u16string& script, int side = 2) {
        auto connection = OpenConnection(side == 1 ? *one : *two);
        Texts errors;
        for (const std::u16string& batch : BatchesOf(script)) {
            try {
                connection->Execute(batch);
            } catch (const Error& error) {
                errors.push_back(error.Description());
            }
        }
        return errors;
    }

    // Writes the script, runs it, and looks that nothing differs any more.
    void ExpectToConverge(const std::vector<std::u16string>& names) {
        const std::u16string script = Script(names);
        EXPECT_EQ(Run(script, scripted.target), Texts{}) << ToUtf8(script);
        std::vector<DirectTable> tables;
        for (const std::u16string& name : names)
            tables.push_back({{u"dbo", name}, {}, keyColumns, {}});
        Texts left;
        sink.Difference = [&](const DirectDifference& difference, bool&) {
            left.push_back(Shown(difference));
        };
        for (const DirectTableResult& result : Compare(tables))
            EXPECT_TRUE(result.Same());
        EXPECT_EQ(left, Texts{}) << ToUtf8(script);
    }

    // The text of the one error that the script ends with; the test fails where there is none, or
    // more than one.
    std::u16string OnlyErrorOf(const std::u16string& script) {
        const Texts errors = Run(script);
        EXPECT_EQ(errors.size(), 1U) << ToUtf8(script);
        return errors.size() == 1 ? errors[0] : std::u16string();
    }

    // Fills t with rows 0 to count - 1; the values are expressions of @i.
    static std::u16string Fill(int count, const std::u16string& values) {
        return u"DECLARE @i int SET @i = 0 WHILE @i < " + ToText(count) +
               u" BEGIN INSERT t VALUES (" + values + u") SET @i = @i + 1 END ";
    }

    // Moves the second side to a server that knows no lists of rows.
    sandbox::Server& MoveSide2ToAnOlderServer() {
        sandbox::ServerSettings settings;
        settings.name = u"OLD";
        settings.version = "9.00.5000";
        sandbox::Server& older = olderBox.AddServer(settings);
        older.Run(u"CREATE DATABASE w");
        two = MakeDatabase(older, u"w");
        return older;
    }

    std::u16string On2(const std::u16string& query) { return server2.Scalar(u"USE w " + query); }

    sandbox::Sandbox olderBox;
    std::vector<std::u16string> keyColumns;
    DirectScriptOptions scripted;
};

// What holds for scripts with and without a guard.
class GuardedOrNot : public ScriptFixture, public ::testing::WithParamInterface<bool> {
  protected:
    GuardedOrNot() { scripted.guard = GetParam(); }
};

}  // namespace QuillonLib
