// What the direct comparison of two tables costs over reading them: 1 % of the rows differ, 0.1 %
// are on one side only. For scale, the rows per second of a tool that compares two SQLite files.
//
//   quillon_direct_merge_bench [rows]
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "BareFetch.h"
#include "Bars.h"
#include "DirectRun.h"
#include "DirectTables.h"
#include "ScratchFolder.h"
#include "SqliteTwin.h"
#include "Tools.h"
#include "cli/Driver.h"

namespace {

using bench::BareConnection;
using bench::Measured;

constexpr double MaxCpuRatio = 1.35;
constexpr double MaxWallRatio = 1.3;
constexpr double MinTimesTheTool = 3;

const std::u16string Query =
    u"SELECT [Id], [Serial], [Name], [Code], [Changed], [Amount], [Active], [Ratio]"
    u" FROM [dbo].[t] ORDER BY [Id]";

// As the library asks for the columns.
constexpr bench::BareColumn Columns[] = {
    {SQL_C_SLONG, 4},           {SQL_C_SBIGINT, 8}, {SQL_C_BINARY, 100}, {SQL_C_BINARY, 20},
    {SQL_C_TYPE_TIMESTAMP, 16}, {SQL_C_CHAR, 48},   {SQL_C_BIT, 1},      {SQL_C_DOUBLE, 8}};

void CheckRows(std::size_t rows, std::size_t found) {
    if (found != rows) throw std::runtime_error("rows were lost");
}

// Half a thousandth is on each side only, and a hundredth differs.
void CheckResult(const QuillonLib::DirectTableResult& result, std::uint64_t rows) {
    const std::uint64_t alone = rows / 2000;
    if (!result.complete || result.onlyIn1 != alone || result.onlyIn2 != alone ||
        result.differing != rows / 100 || result.identical != rows - rows / 100 - 2 * alone) {
        throw std::runtime_error("the comparison is wrong");
    }
}

// Two SQLite files with the same rows; false where they cannot be made.
bool FillFiles(const bench::ScratchFolder& folder, std::size_t rows) {
    for (int side = 1; side <= 2; ++side) {
        const std::string differs = side == 2 ? "(i % 100 = 50)" : "0";
        const std::string leftOut =
            "i % 1000 = 500 AND i / 1000 % 2 = " + std::to_string(side == 2 ? 0 : 1);
        const std::string changed = "(i * 12345 - 5000000 + " + differs + ") / 10000.0";
        if (!bench::FillSqliteTwin(folder.File(side == 1 ? "one" : "two"), rows, changed,
                                   "NOT (" + leftOut + ")")) {
            return false;
        }
    }
    return true;
}

// It reads from disk what the comparison reads from a server.
bool CompareWithSqlDiff(std::size_t rows, double seconds) {
    if (!bench::IsInstalled("sqldiff")) return true;
    const bench::ScratchFolder folder;
    if (!FillFiles(folder, rows)) throw std::runtime_error("no files to compare");
    const std::string command = "sqldiff " + folder.File("one") + " " + folder.File("two") + " > " +
                                folder.File("differences");
    Measured best;
    for (int run = 0; run < 3; ++run) {
        const auto time = bench::MeasureCommand("sqldiff", command);
        if (!time) return true;
        bench::KeepLeast(best, *time);
    }
    bench::PrintTime("sqldiff", best, rows);
    return bench::AtLeast("rows per second / sqldiff", best.wall / seconds, MinTimesTheTool);
}

int Run(std::size_t rows) {
    rows = (rows + 1999) / 2000 * 2000;
    const bench::MadeUpTables tables{static_cast<std::int64_t>(rows), bench::Sides::NearlyEqual};
    const bench::ServerProcess server(
        [&] { return std::make_unique<bench::DirectTables>(tables); });
    const auto one = bench::Describe(server.Address(), u"one");
    const auto two = bench::Describe(server.Address(), u"two");
    BareConnection bare1(bench::TextOfLogin(server, u"one"));
    BareConnection bare2(bench::TextOfLogin(server, u"two"));
    const std::size_t served = rows - rows / 2000;

    Measured inTurn, sideBySide, comparison;
    for (int run = 0; run < 3; ++run) {
        bench::KeepLeast(inTurn, bench::Measure([&] {
                             CheckRows(served, bare1.Fetch(Query, Columns));
                             CheckRows(served, bare2.Fetch(Query, Columns));
                         }));
        bench::KeepLeast(sideBySide, bench::Measure([&] {
                             std::thread other([&] { bare2.Fetch(Query, Columns); });
                             bare1.Fetch(Query, Columns);
                             other.join();
                         }));
        bench::KeepLeast(comparison, bench::Measure([&] {
                             const auto results = bench::CompareTables(*one, *two, {u"t"});
                             CheckResult(results.at(0), rows);
                         }));
    }
    bench::PrintTime("bare, in turn", inTurn, rows);
    bench::PrintTime("bare, side by side", sideBySide, rows);
    bench::PrintTime("comparison", comparison, rows);
    bool held = bench::AtMost("CPU / bare in turn", comparison.cpu / inTurn.cpu, MaxCpuRatio);
    held &=
        bench::AtMost("wall / bare side by side", comparison.wall / sideBySide.wall, MaxWallRatio);
    held &= CompareWithSqlDiff(rows, comparison.wall);
    return held ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::size_t rows = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    return bench::ExitStatusOf([&] { return Run(rows); });
}
