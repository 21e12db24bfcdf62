// Compares 500 tables on the sandbox: how many catalog queries that takes, and how its time relates
// to sending the same counting statements from a bare ODBC loop.
#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <stdexcept>
#include <vector>

#include "QuillonLib.h"
#include "cli/Driver.h"
#include "data/ConnectionString.h"
#include "sandbox/Sandbox.h"

namespace {

using namespace QuillonLib;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

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

void Fill(sandbox::Server& server, const char16_t* database, int tables, int rows, int changed) {
    server.Run(std::u16string(u"CREATE DATABASE ") + database);
    const std::u16string use = std::u16string(u"USE ") + database + u"\nGO\n";
    for (int t = 0; t < tables; ++t) {
        const std::u16string name = u"t" + ToText(t);
        std::u16string sql =
            use + u"CREATE TABLE " + name + u" (id int NOT NULL CONSTRAINT PK_" + name +
            u" PRIMARY KEY, a int NULL, b nvarchar(40) NULL, c datetime NULL)\nGO\n"
            u"INSERT INTO " +
            name + u" VALUES ";
        for (int r = 0; r < rows; ++r) {
            if (r > 0) sql += u", ";
            sql += u"(" + ToText(r) + u", " + ToText(r % 7 == changed ? -r : r) + u", N'row " +
                   ToText(r) + u"', '20240115 13:45:30.123')";
        }
        server.Run(sql);
    }
}

std::shared_ptr<Database> Describe(const sandbox::Server& server, const char16_t* name) {
    auto database = std::make_shared<Database>();
    database->Server(server.Address());
    database->DatabaseName(name);
    database->Username(u"sa");
    database->Password(u"sandbox");
    return database;
}

void Run(int tables, int rows) {
    sandbox::Sandbox box;
    sandbox::Server& server = box.AddServer();
    Fill(server, u"one", tables, rows, 3);
    Fill(server, u"two", tables, rows, 4);
    const auto one = Describe(server, u"one");
    const auto two = Describe(server, u"two");
    TextArray list;
    for (int t = 0; t < tables; ++t)
        list.Items.push_back(u"[dbo].[t" + ToText(t) + u"]");

    Utils utils;
    server.ClearLog();
    utils.CompareContents(one, two, one, list, {}, {});
    std::vector<Told> told;
    std::map<int, int> catalogQueries;
    for (const auto& entry : server.Log()) {
        if (entry.batch.empty()) continue;
        if (IsCatalogQuery(entry.batch)) {
            ++catalogQueries[entry.session];
        } else {
            told.push_back({(entry.session - 1) % 3, entry.batch});
        }
    }

    SQLHENV environment = nullptr;
    Require(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &environment), "environment");
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                  0);
    double comparison = 1e9;
    double bare = 1e9;
    for (int repeat = 0; repeat < 5; ++repeat) {
        auto begin = Clock::now();
        utils.CompareContents(one, two, one, list, {}, {});
        comparison = std::min(comparison, Seconds(begin));

        begin = Clock::now();
        {
            const auto text = [&](const char16_t* name) {
                return BuildConnectionString(server.Address(), name, false, u"sa", u"sandbox");
            };
            BareConnection connections[3] = {{environment, text(u"one")},
                                             {environment, text(u"two")},
                                             {environment, text(u"one")}};
            for (const Told& statement : told)
                connections[statement.connection].Count(statement.sql);
        }
        bare = std::min(bare, Seconds(begin));
    }
    SQLFreeHandle(SQL_HANDLE_ENV, environment);

    std::cout << tables << " tables of " << rows << " rows, " << told.size() << " statements\n";
    for (const auto& [session, count] : catalogQueries) {
        std::cout << "catalog queries on connection " << (session - 1) % 3 + 1 << ": " << count
                  << '\n';
    }
    std::printf("comparison: %.3f s\nbare loop:  %.3f s\nratio:      %.2f\n", comparison, bare,
                comparison / bare);
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    try {
        Run(argc > 1 ? std::atoi(argv[1]) : 500, argc > 2 ? std::atoi(argv[2]) : 1000);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
