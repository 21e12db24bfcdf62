// Compares 500 tables by a server: how many catalog queries that takes, and how its time relates to
// sending the same counting statements from a bare ODBC loop; with huge pages and without, on any
// processor and on one.
//
//   quillon_comparison_bench [tables] [rows]
#include <sql.h>
#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Bars.h"
#include "Conditions.h"
#include "DirectRun.h"
#include "QuillonLib.h"
#include "SharedJournal.h"
#include "cli/Driver.h"
#include "data/ConnectionString.h"

namespace {

using namespace QuillonLib;
constexpr double MaxWallRatio = 1.1;

void Require(SQLRETURN result, const char* what) {
    if (!SQL_SUCCEEDED(result)) throw std::runtime_error(std::string(what) + " failed");
}

// One login and one statement, with nothing between them and the driver.
class BareConnection {
  public:
    BareConnection(SQLHENV environment, const std::u16string& text) {
        Require(SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection_), "connection handle");
        const std::string narrow = ToUtf8(text);
        std::vector<SQLCHAR> buffer(narrow.begin(), narrow.end());
        Require(SQLDriverConnect(connection_, nullptr, buffer.data(),
                                 static_cast<SQLSMALLINT>(buffer.size()), nullptr, 0, nullptr,
                                 SQL_DRIVER_NOPROMPT),
                "login");
        Require(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_), "statement handle");
    }
    ~BareConnection() {
        SQLFreeHandle(SQL_HANDLE_STMT, statement_);
        SQLDisconnect(connection_);
        SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    }
    BareConnection(const BareConnection&) = delete;
    BareConnection& operator=(const BareConnection&) = delete;

    SQLINTEGER Count(const std::u16string& sql) {
        std::vector<SQLWCHAR> text(sql.begin(), sql.end());
        Require(SQLExecDirectW(statement_, text.data(), static_cast<SQLINTEGER>(text.size())),
                "statement");
        SQLINTEGER count = 0;
        Require(SQLFetch(statement_), "fetch");
        Require(SQLGetData(statement_, 1, SQL_C_SLONG, &count, sizeof count, nullptr), "count");
        while (SQL_SUCCEEDED(SQLMoreResults(statement_))) {
        }
        SQLFreeStmt(statement_, SQL_CLOSE);
        return count;
    }

  private:
    SQLHDBC connection_ = nullptr;
    SQLHSTMT statement_ = nullptr;
};

struct Told {
    int connection = 0;
    std::u16string sql;
};

bool IsCatalogQuery(const std::u16string& batch) {
    return batch.find(u"sys.objects") != std::u16string::npos ||
           batch.find(u"master..sysdatabases") != std::u16string::npos;
}

// In a seventh of the rows the sides differ, each from what is made up and from the other.
class ManyTables : public bench::JournalServer {
  public:
    ManyTables(bench::SharedJournal& journal, int tables, int rows) : JournalServer(journal) {
        Fill(u"one", tables, rows, 3);
        Fill(u"two", tables, rows, 4);
    }

  private:
    void Fill(const std::u16string& database, int tables, int rows, int changed) {
        Run(u"CREATE DATABASE " + database);
        for (int t = 0; t < tables; ++t) {
            const std::u16string name = u"t" + ToText(t);
            const std::u16string table = database + u".." + name;
            Run(u"CREATE TABLE " + table + u" (id int NOT NULL CONSTRAINT PK_" + name +
                u" PRIMARY KEY, a int NULL, b nvarchar(40) NULL, c datetime NULL)");
            std::u16string sql = u"INSERT INTO " + table + u" VALUES ";
            for (int r = 0; r < rows; ++r) {
                if (r > 0) sql += u", ";
                sql += u"(" + ToText(r) + u", " + ToText(r % 7 == changed ? -r : r) + u", N'row " +
                       ToText(r) + u"', '20240115 13:45:30.123')";
            }
            Run(sql);
        }
    }
};

int Run(const bench::ServerProcess& server, const std::vector<Told>& told, const TextArray& list) {
    const auto one = bench::Describe(server.Address(), u"one");
    const auto two = bench::Describe(server.Address(), u"two");
    Utils utils;
    SQLHENV environment = nullptr;
    Require(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &environment), "environment");
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                  0);
    bench::Measured comparison, bare;
    for (int repeat = 0; repeat < 5; ++repeat) {
        bench::KeepLeast(comparison, bench::Measure([&] {
                             utils.CompareContents(one, two, one, list, {}, {});
                         }));
        bench::KeepLeast(bare, bench::Measure([&] {
                             const auto text = [&](const char16_t* name) {
                                 return BuildConnectionString(server.Address(), name, false, u"sa",
                                                              u"sandbox");
                             };
                             BareConnection connections[3] = {{environment, text(u"one")},
                                                              {environment, text(u"two")},
                                                              {environment, text(u"one")}};
                             for (const Told& statement : told)
                                 connections[statement.connection].Count(statement.sql);
                         }));
    }
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
    std::printf("comparison: %.3f s CPU, %.3f s\nbare loop:  %.3f s CPU, %.3f s\n", comparison.cpu,
                comparison.wall, bare.cpu, bare.wall);
    return bench::AtMost("comparison / bare loop", comparison.wall / bare.wall, MaxWallRatio) ? 0
                                                                                              : 1;
}

int RunAll(int tables, int rows) {
    bench::SharedJournal journal;
    const bench::ServerProcess server(
        [&] { return std::make_unique<ManyTables>(journal, tables, rows); });
    TextArray list;
    for (int t = 0; t < tables; ++t)
        list.Items.push_back(u"[dbo].[t" + ToText(t) + u"]");

    std::vector<Told> told;
    // What the library asks. It logs in in a process of its own: forks with connections open are
    // none of the driver's strengths.
    journal.Begin();
    const int status = bench::ChildProcess([&] {
                           const auto one = bench::Describe(server.Address(), u"one");
                           const auto two = bench::Describe(server.Address(), u"two");
                           Utils().CompareContents(one, two, one, list, {}, {});
                       }).Wait();
    if (status != 0) throw std::runtime_error("the comparison failed");
    std::map<int, int> catalogQueries;
    for (const auto& entry : journal.Entries()) {
        if (IsCatalogQuery(entry.batch)) {
            ++catalogQueries[entry.session];
        } else {
            told.push_back({(entry.session - 1) % 3, entry.batch});
        }
    }
    std::printf("%d tables of %d rows, %zu statements\n", tables, rows, told.size());
    for (const auto& [session, count] : catalogQueries)
        std::printf("catalog queries on connection %d: %d\n", (session - 1) % 3 + 1, count);
    return bench::UnderEachCondition([&] { return Run(server, told, list); });
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const int tables = argc > 1 ? std::atoi(argv[1]) : 500;
    const int rows = argc > 2 ? std::atoi(argv[2]) : 1000;
    return bench::ExitStatusOf([&] { return RunAll(tables, rows); });
}
