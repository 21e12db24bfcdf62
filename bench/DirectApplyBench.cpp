// How long a server takes for a script of statements over how long it takes for one of calls, with
// the same inserts, updates and deletes.
//
//   quillon_direct_apply_bench [rows]
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "Bars.h"
#include "DirectRun.h"
#include "EngineServer.h"
#include "QuillonLib.h"
#include "catalog/Login.h"
#include "cli/Driver.h"
#include "cli/ScriptRunner.h"
#include "core/Text.h"
#include "data/Connection.h"
#include "direct/DirectScript.h"

namespace {

using namespace QuillonLib;
using bench::Measured;

constexpr double MinTimes = 3;
constexpr std::size_t CallsInBatch = 2000;  // as `quillon sync` cuts them

struct Change {
    const char16_t* table;
    const char* name;
};
constexpr Change Changes[] = {{u"ins", "inserts"}, {u"upd", "updates"}, {u"del", "deletes"}};

// Database "one" is what the others are to become: "calls" by a script of calls, "statements" by
// one of statements.
class ApplyTables : public bench::EngineServer {
  public:
    explicit ApplyTables(std::size_t rows) {
        for (const std::u16string database : {u"one", u"calls", u"statements"}) {
            Run(u"CREATE DATABASE " + database);
            Run(u"CREATE TABLE " + database + u"..n (i int NOT NULL PRIMARY KEY)");
            Run(u"INSERT " + database + u"..n VALUES (0)");
            for (std::size_t have = 1; have < rows; have *= 2)
                Run(u"INSERT " + database + u"..n SELECT i + " + Text(have) + u" FROM " + database +
                    u"..n WHERE i + " + Text(have) + u" < " + Text(rows));
            const bool source = database == u"one";
            Fill(database, u"ins", source, u"0");
            Fill(database, u"upd", true, source ? u"0" : u"1");
            Fill(database, u"del", !source, u"0");
        }
    }

  private:
    static std::u16string Text(std::size_t number) {
        return ToText(static_cast<std::int64_t>(number));
    }
    void Fill(const std::u16string& database, const std::u16string& table, bool full,
              const std::u16string& change) {
        Run(u"CREATE TABLE " + database + u".." + table + u" (id int NOT NULL CONSTRAINT PK_" +
            table +
            u" PRIMARY KEY, name nvarchar(40) NULL, amount decimal(12, 2) NULL, changed datetime"
            u" NULL, code varchar(20) NULL, active bit NULL)");
        if (!full) return;
        Run(u"INSERT " + database + u".." + table +
            u" SELECT i, N'Row number ' + CAST(i AS nvarchar(10)), CAST(i AS decimal(12, 2)) + " +
            change + u", '20240115 13:45:30.123', 'AB-' + CAST(i AS varchar(10)), i % 2 FROM " +
            database + u"..n");
    }
};

std::size_t CountDifferences(const Database& one, const Database& target, const char16_t* table) {
    const auto results = bench::CompareTables(one, target, {table});
    if (!results.at(0).complete) throw std::runtime_error("the comparison failed");
    return results[0].differing + results[0].onlyIn1 + results[0].onlyIn2;
}

std::vector<std::u16string> StatementBatches(const Database& one, const Database& target,
                                             const char16_t* table) {
    DirectScriptWriter writer(target, {});
    DirectSink sink;
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const auto results = bench::CompareTables(one, target, {table}, sink);
    std::u16string script;
    writer.Write(results, [&](std::u16string_view piece) { script += piece; });
    std::vector<std::u16string> batches;
    for (std::size_t from = 0, go = 0; go != script.npos; from = go + 6) {
        go = script.find(u"\r\nGO\r\n", from);
        batches.push_back(script.substr(from, go - from));
    }
    return batches;
}

std::vector<std::u16string> CallBatches(const std::shared_ptr<Database>& one,
                                        const std::shared_ptr<Database>& target,
                                        const std::u16string& table) {
    Utils utils;
    const auto differences =
        utils.CompareContents(one, target, one, TextArray({u"[dbo].[" + table + u"]"}), {}, {});
    std::u16string left, right;
    utils.GetUpdateScripts(one, target, one, differences, left, right,
                           enShowOptions(cpoShowDifferent | cpoShowMissing | cpoShowAdditional), 0);
    return quillon::CutIntoBatches(right, CallsInBatch);
}

struct Times {
    Measured byCalls;
    Measured byStatements;
};

// One application of each script; both are checked to have done all.
Times Apply(const std::u16string& address, const char16_t* table, std::size_t rows) {
    const auto one = bench::Describe(address, u"one");
    const auto calls = bench::Describe(address, u"calls");
    const auto statements = bench::Describe(address, u"statements");
    if (CountDifferences(*one, *calls, table) != rows ||
        CountDifferences(*one, *statements, table) != rows) {
        throw std::runtime_error("other rows than were wanted");
    }
    const auto callBatches = CallBatches(one, calls, table);
    const auto statementBatches = StatementBatches(*one, *statements, table);
    const auto connection1 = OpenConnection(*calls);
    const auto connection2 = OpenConnection(*statements);
    Times times;
    times.byCalls = bench::Measure([&] { quillon::RunBatches(*connection1, callBatches); });
    times.byStatements = bench::Measure([&] {
        for (const std::u16string& batch : statementBatches)
            connection2->Execute(batch);
    });
    if (CountDifferences(*one, *calls, table) != 0 ||
        CountDifferences(*one, *statements, table) != 0) {
        throw std::runtime_error("a script has not done all");
    }
    return times;
}

int Run(std::size_t rows) {
    std::map<const Change*, Times> least;
    for (int run = 0; run < 3; ++run) {
        const bench::ServerProcess server([&] { return std::make_unique<ApplyTables>(rows); });
        for (const Change& change : Changes) {
            const Times times = Apply(server.Address(), change.table, rows);
            bench::KeepLeast(least[&change].byCalls, times.byCalls);
            bench::KeepLeast(least[&change].byStatements, times.byStatements);
        }
    }
    bool held = true;
    for (const Change& change : Changes) {
        const Times& times = least[&change];
        std::printf("%zu %-10s by calls %.3f s, by statements %.3f s\n", rows, change.name,
                    times.byCalls.wall, times.byStatements.wall);
        held &= bench::AtLeast("times as fast by statements",
                               times.byCalls.wall / times.byStatements.wall, MinTimes);
    }
    return held ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::size_t rows = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 100000;
    return bench::ExitStatusOf([&] { return Run(rows); });
}
