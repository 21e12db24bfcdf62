// What it costs to write the scripts of a table in which every row differs, over what it costs to
// fetch the rows, and how much memory it takes. Every figure is taken in a process of its own; with
// huge pages and without, on any processor and on one.
//
//   quillon_update_scripts_bench [rows]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "BareFetch.h"
#include "Bars.h"
#include "Conditions.h"
#include "DifferingTables.h"
#include "PeakMemory.h"
#include "QuillonLib.h"
#include "ScratchFolder.h"
#include "SqliteTwin.h"
#include "Tools.h"
#include "cli/Driver.h"
#include "core/Text.h"
#include "data/Recordset.h"
#include "scripts/CallLines.h"

namespace {

using namespace QuillonLib;
using bench::InChild;
using bench::Measured;
using bench::Mebibyte;
using bench::ScratchFolder;

constexpr double MaxCpuRatio = 1.3;
constexpr double MaxLinesShare = 0.12;  // of the bare fetch of the rows
constexpr double MinStatementRatio = 2.5;

// What a child found out; it lies in memory that parent and child share.
struct Findings {
    Measured time;
    std::size_t rows = 0;
    std::size_t scriptBytes = 0;
    double peakGrowth = 0;  // bytes
};

// Measures the action with its peak memory.
template <class Action>
void MeasureInto(Findings& findings, const Action& action) {
    bench::ForgetPeak();
    const double before = bench::PeakBytes();
    findings.time = bench::Measure(action);
    findings.peakGrowth = bench::PeakBytes() - before;
}

// As a client does that asks for nothing special: packets of the driver's own size, too.
void FetchBare(Findings& findings, const std::u16string& connectionString,
               const std::u16string& query) {
    bench::BareConnection connection(connectionString);
    MeasureInto(findings, [&] { findings.rows = connection.Fetch(query, bench::MixedColumns, 2); });
}

struct Comparison {
    std::shared_ptr<Database> one = std::make_shared<Database>();
    std::shared_ptr<Database> two = std::make_shared<Database>();
    std::shared_ptr<TableDifferences> results;
    Utils utils;
};

void Compare(Comparison& comparison, const std::u16string& address) {
    const auto describe = [&](Database& database, const char16_t* name) {
        database.Server(address);
        database.DatabaseName(name);
        database.Username(u"sa");
        database.Password(u"sandbox");
    };
    describe(*comparison.one, u"one");
    describe(*comparison.two, u"two");
    comparison.results = comparison.utils.CompareContents(
        comparison.one, comparison.two, comparison.one, TextArray({u"[dbo].[t]"}), {}, {});
}

void MeasureGetRecordsets(Findings& findings, const std::u16string& address) {
    Comparison c;
    Compare(c, address);
    std::shared_ptr<Recordset> equal, different, right, left;
    std::u16string sRight, sLeft;
    MeasureInto(findings, [&] {
        c.utils.GetRecordsets(c.one, c.two, c.one, c.results->Item(1), equal, different, right,
                              left, sRight, sLeft, cpoShowDifferent, 0);
    });
    findings.rows = different->RecordCount();
    findings.scriptBytes = (sRight.size() + sLeft.size()) * sizeof(char16_t);
}

void MeasureGetUpdateScripts(Findings& findings, const std::u16string& address) {
    Comparison c;
    Compare(c, address);
    std::u16string sRight, sLeft;
    MeasureInto(findings, [&] {
        c.utils.GetUpdateScripts(c.one, c.two, c.one, c.results, sLeft, sRight, cpoShowDifferent,
                                 0);
    });
    findings.scriptBytes = (sRight.size() + sLeft.size()) * sizeof(char16_t);
    for (std::size_t at = sRight.find(u"\nEXEC "); at != sRight.npos;
         at = sRight.find(u"\nEXEC ", at + 1)) {
        ++findings.rows;
    }
}

void MeasureCallLines(Findings& findings, const std::u16string& connectionString,
                      const std::u16string& query) {
    const auto connection = std::make_shared<Connection>();
    connection->Open(connectionString);
    CallLines calls{std::make_shared<Recordset>(), {}};
    calls.Rows->Open(query, connection);
    for (std::size_t i = 0; i < calls.Rows->FieldCount(); i += 2)
        calls.Fields.push_back(i);
    std::u16string lines;
    // A later run writes to memory in use: the first one's time is the clearing of
    // pages too.
    for (int run = 0; run < 3; ++run) {
        lines.clear();
        bench::KeepBest(findings.time, bench::Measure([&] {
                            AppendCallLines(lines, u"EXEC prcTmp_QVX_Update ", calls, RowUse::Keep);
                        }));
    }
    findings.rows = calls.Rows->RecordCount();
}

// The quickest of three: what the work costs without the machine's other work.
Findings Best(const std::function<void(Findings&)>& work) {
    Findings best = InChild<Findings>(work);
    for (int run = 1; run < 3; ++run) {
        const Findings next = InChild<Findings>(work);
        if (next.time.cpu < best.time.cpu) best = next;
    }
    return best;
}

void Print(const char* name, const Findings& findings) {
    std::printf("%-22s %8.3f s CPU  %8.3f s  %9zu rows  peak %8.1f MiB  scripts %8.1f MiB\n", name,
                findings.time.cpu, findings.time.wall, findings.rows,
                findings.peakGrowth / Mebibyte,
                static_cast<double>(findings.scriptBytes) / Mebibyte);
}

// For scale.
std::optional<Measured> MeasureTool(const char* name, const std::string& command,
                                    std::size_t rows) {
    const auto time = bench::MeasureCommand(name, command);
    if (time)
        std::printf("%-22s %8.3f s CPU  %8.3f s  %9zu rows\n", name, time->cpu, time->wall, rows);
    return time;
}

// The rows of the differing row set, written to a file.
void CompareWithBulkCopy(const std::string& server, const ScratchFolder& folder, std::size_t rows) {
    if (!bench::IsInstalled("freebcp")) return;
    MeasureTool("freebcp queryout",
                "timeout 120 freebcp \"SELECT T1.*, T2.* FROM one..t T1 INNER JOIN two..t T2 ON "
                "T1.Id=T2.Id\" queryout " +
                    folder.File("rows") + " -c -S " + server +
                    " -U sa -P sandbox > /dev/null 2>&1 < /dev/null",
                rows);
}

// Two SQLite files with the same rows, and the statements that make one agree with the other. It
// reads from disk what the others read from a server.
std::optional<Measured> CompareWithSqlDiff(const ScratchFolder& folder, std::size_t rows) {
    if (!bench::IsInstalled("sqldiff")) return std::nullopt;
    for (int side = 0; side < 2; ++side) {
        const bool filled = bench::FillSqliteTwin(folder.File(side == 0 ? "one" : "two"), rows,
                                                  "i * 1.2345 - 500 + " + std::to_string(side));
        if (!filled) {
            std::printf("sqldiff                has no files to compare: skipped\n");
            return std::nullopt;
        }
    }
    return MeasureTool("sqldiff, one direction",
                       "timeout 120 sqldiff " + folder.File("one") + " " + folder.File("two") +
                           " > " + folder.File("differences"),
                       rows);
}

int Run(const bench::ServerProcess& server, std::size_t rows) {
    const std::u16string connectionString = server.ConnectionString();
    const std::u16string address = server.Address();
    const std::u16string query = bench::DifferingRowsQuery;

    const Findings bare = Best([&](Findings& f) { FetchBare(f, connectionString, query); });
    Print("bare block fetch", bare);
    const Findings table = Best([&](Findings& f) { MeasureGetRecordsets(f, address); });
    Print("GetRecordsets", table);
    const Findings scripts = Best([&](Findings& f) { MeasureGetUpdateScripts(f, address); });
    Print("GetUpdateScripts", scripts);
    const Findings lines = Best([&](Findings& f) { MeasureCallLines(f, connectionString, query); });
    Print("call lines", lines);
    const ScratchFolder folder;
    std::string hostAndPort = ToUtf8(address);
    hostAndPort[hostAndPort.find(',')] = ':';
    CompareWithBulkCopy(hostAndPort, folder, rows);
    const auto sqldiff = CompareWithSqlDiff(folder, rows);

    if (bare.rows != rows || table.rows != rows || scripts.rows != rows || lines.rows != rows) {
        std::fprintf(stderr, "rows were lost\n");
        return 1;
    }
    bool held = bench::Bar("GetUpdateScripts CPU / bare fetch", scripts.time.cpu / bare.time.cpu,
                           MaxCpuRatio, true);
    held &=
        bench::AtMost("call lines CPU / bare fetch", lines.time.cpu / bare.time.cpu, MaxLinesShare);
    // One of sqldiff's to two of both scripts.
    if (sqldiff)
        held &= bench::AtLeast("statements per second / sqldiff's",
                               2 * sqldiff->wall / scripts.time.wall, MinStatementRatio);
    held &= bench::Bar("GetUpdateScripts peak, MiB", scripts.peakGrowth / Mebibyte,
                       1.3 * static_cast<double>(scripts.scriptBytes) / Mebibyte + 64, true);
    return held ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::size_t rows = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    return bench::ExitStatusOf([&] {
        const bench::ServerProcess server(
            [&] { return std::make_unique<bench::DifferingTables>(rows); });
        return bench::UnderEachCondition([&] { return Run(server, rows); });
    });
}
