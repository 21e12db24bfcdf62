// Compares many small tables directly, one at a time: how many queries of the catalog that takes,
// and how its time relates to reading the same rows with nothing but the driver.
//
//   quillon_direct_tables_bench [tables] [rows]
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BareFetch.h"
#include "Bars.h"
#include "DirectRun.h"
#include "SharedJournal.h"
#include "cli/Driver.h"
#include "core/Text.h"

namespace {

using namespace QuillonLib;
using bench::Measured;

constexpr double MaxWallRatio = 1.2;
constexpr double MaxCatalogQueries = 60;  // of each database

std::u16string NameOf(int table) {
    return u"t" + ToText(table);
}

class ManyTables : public bench::JournalServer {
  public:
    ManyTables(bench::SharedJournal& journal, int tables, int rows) : JournalServer(journal) {
        for (const int side : {1, 2}) {
            const std::u16string database = side == 1 ? u"one" : u"two";
            Run(u"CREATE DATABASE " + database);
            for (int table = 0; table < tables; ++table)
                Fill(database + u".." + NameOf(table), rows, side);
        }
    }

  private:
    // Every hundredth row differs.
    void Fill(const std::u16string& table, int rows, int side) {
        Run(u"CREATE TABLE " + table +
            u" (id int NOT NULL PRIMARY KEY, a int NULL, b nvarchar(40) NULL, c datetime NULL)");
        std::u16string insert;
        for (int row = 0; row < rows; ++row) {
            insert += (insert.empty() ? u"INSERT " + table + u" VALUES (" : u", (") + ToText(row) +
                      u", " + ToText(row % 100 == 50 ? side : row) + u", N'row " + ToText(row) +
                      u"', '20240115 13:45:30.123')";
            if (row % 1000 != 999 && row + 1 != rows) continue;
            Run(insert);
            insert.clear();
        }
    }
};

constexpr bench::BareColumn Columns[] = {
    {SQL_C_SLONG, 4}, {SQL_C_SLONG, 4}, {SQL_C_BINARY, 80}, {SQL_C_TYPE_TIMESTAMP, 16}};

bool ReadsRows(const std::u16string& batch) {
    return batch.find(u" FROM [dbo].[t") != batch.npos;
}

void Compare(const Database& one, const Database& two, int tables, int rows) {
    std::vector<std::u16string> names;
    for (int table = 0; table < tables; ++table)
        names.push_back(NameOf(table));
    const auto differing = static_cast<std::uint64_t>((rows + 49) / 100);
    for (const DirectTableResult& result : bench::CompareTables(one, two, names)) {
        if (!result.complete || result.differing != differing ||
            result.identical + differing != static_cast<std::uint64_t>(rows)) {
            throw std::runtime_error("the comparison is wrong");
        }
    }
}

int Run(int tables, int rows) {
    bench::SharedJournal journal;
    const bench::ServerProcess server(
        [&] { return std::make_unique<ManyTables>(journal, tables, rows); });
    const auto one = bench::Describe(server.Address(), u"one");
    const auto two = bench::Describe(server.Address(), u"two");

    journal.Begin();
    Compare(*one, *two, tables, rows);
    std::vector<std::u16string> reads;
    int catalogQueries[2] = {};
    for (const auto& entry : journal.Entries()) {
        // of one worker, whose sides log in one after the other
        if (!ReadsRows(entry.batch))
            ++catalogQueries[(entry.session - 1) % 2];
        else if (entry.session % 2 == 1)
            reads.push_back(entry.batch);
    }
    if (reads.size() != static_cast<std::size_t>(tables)) throw std::runtime_error("other reads");

    Measured comparison, bare;
    for (int run = 0; run < 3; ++run) {
        bench::KeepLeast(bare, bench::Measure([&] {
                             bench::BareConnection side1(bench::TextOfLogin(server, u"one"));
                             bench::BareConnection side2(bench::TextOfLogin(server, u"two"));
                             for (const std::u16string& read : reads) {
                                 side1.Fetch(read, Columns);
                                 side2.Fetch(read, Columns);
                             }
                         }));
        bench::KeepLeast(comparison, bench::Measure([&] { Compare(*one, *two, tables, rows); }));
    }
    std::printf("%d tables of %d rows\n", tables, rows);
    const auto all = static_cast<std::size_t>(tables) * static_cast<std::size_t>(rows);
    bench::PrintTime("bare", bare, all);
    bench::PrintTime("comparison", comparison, all);
    bool held = bench::AtMost("wall / bare", comparison.wall / bare.wall, MaxWallRatio);
    held &= bench::AtMost("catalog queries, database 1", catalogQueries[0], MaxCatalogQueries);
    held &= bench::AtMost("catalog queries, database 2", catalogQueries[1], MaxCatalogQueries);
    return held ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const int tables = argc > 1 ? std::atoi(argv[1]) : 500;
    const int rows = argc > 2 ? std::atoi(argv[2]) : 100;
    return bench::ExitStatusOf([&] { return Run(tables, rows); });
}
