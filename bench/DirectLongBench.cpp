// What it costs to compare a column of unbounded text over one of nvarchar(200) with the same
// values, of 20 to 200 characters.
//
//   quillon_direct_long_bench [rows]
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Bars.h"
#include "DirectRun.h"
#include "EngineServer.h"
#include "cli/Driver.h"

namespace {

using namespace QuillonLib;
using bench::Measured;

constexpr double MinRatio = 1.0 / 3;

std::u16string Letters() {
    std::u16string text;
    for (int i = 0; i < 400; ++i)
        text.push_back(static_cast<char16_t>(i % 7 == 6 ? 0x4E00 + i : u'a' + i % 26));
    return text;
}

// The engine answers for the catalog; the rows are made up on the way.
class LongTables : public bench::EngineServer {
  public:
    explicit LongTables(std::int64_t rows) : rows_(rows) {
        for (const std::u16string database : {u"one", u"two"}) {
            Run(u"CREATE DATABASE " + database);
            Run(u"CREATE TABLE " + database +
                u"..bounded (id int NOT NULL PRIMARY KEY, note nvarchar(200) NULL)");
            Run(u"CREATE TABLE " + database +
                u"..unbounded (id int NOT NULL PRIMARY KEY, note nvarchar(max) NULL)");
            Run(u"INSERT " + database + u"..bounded VALUES (1, REPLICATE(N'x', 200))");
            Run(u"INSERT " + database + u"..unbounded VALUES (1, REPLICATE(N'x', 200))");
        }
    }

    std::unique_ptr<sandbox::Session> Login(const sandbox::LoginRequest& request) override {
        return std::make_unique<LongSession>(EngineServer::Login(request), rows_);
    }

  private:
    class LongSession : public sandbox::Session {
      public:
        LongSession(std::unique_ptr<sandbox::Session> engine, std::int64_t rows)
            : engine_(std::move(engine)), rows_(rows) {}

        // The columns are those that the engine answers the query with.
        void Execute(std::u16string_view batch, sandbox::ResultSink& sink,
                     const std::atomic<bool>& cancelled) override {
            if (batch.find(u"bounded] ORDER BY [id]") == batch.npos)
                return engine_->Execute(batch, sink, cancelled);
            Multiplied rows(sink, rows_);
            engine_->Execute(batch, rows, cancelled);
        }
        std::u16string Database() const override { return engine_->Database(); }
        int TransactionDepth() const override { return engine_->TransactionDepth(); }

      private:
        std::unique_ptr<sandbox::Session> engine_;
        std::int64_t rows_;
    };

    // Many rows in place of the one that the engine has: ids, and texts of 20 to 200 characters in
    // each column of text; any other column tells their bytes.
    class Multiplied : public sandbox::ResultSink {
      public:
        Multiplied(sandbox::ResultSink& sink, std::int64_t rows) : sink_(sink), rows_(rows) {}

        void Columns(const std::vector<sandbox::ColumnInfo>& columns) override {
            columns_ = columns;
            sink_.Columns(columns);
        }
        bool Row(const sandbox::Cell* first) override {
            std::vector<sandbox::Cell> cells(first, first + columns_.size());
            for (std::int64_t row = 0; row < rows_; ++row) {
                const auto characters = static_cast<std::size_t>(20 + row * 37 % 181);
                cells[0].i = row;
                for (std::size_t i = 1; i < cells.size(); ++i) {
                    cells[i].null = row % 16 == 15;
                    if (columns_[i].type.id == sandbox::TypeId::NVarChar) {
                        cells[i].data =
                            reinterpret_cast<const std::uint8_t*>(letters_.data() + row % 200);
                        cells[i].size = characters * sizeof(char16_t);
                    } else {
                        cells[i].i = static_cast<std::int64_t>(characters * sizeof(char16_t));
                    }
                }
                if (!sink_.Row(cells.data())) return false;
            }
            return true;
        }
        void StatementDone(std::optional<std::int64_t>, bool isSelect, bool error) override {
            sink_.StatementDone(rows_, isSelect, error);
        }
        void Say(const sandbox::Message& message) override { sink_.Say(message); }
        void DatabaseChanged(const std::u16string& from, const std::u16string& to) override {
            sink_.DatabaseChanged(from, to);
        }

      private:
        sandbox::ResultSink& sink_;
        std::int64_t rows_;
        std::vector<sandbox::ColumnInfo> columns_;
        const std::u16string letters_ = Letters();
    };

    std::int64_t rows_;
};

Measured MeasureTable(const Database& one, const Database& two, const char16_t* table,
                      std::size_t rows) {
    return bench::Measure([&] {
        const auto results = bench::CompareTables(one, two, {table});
        if (!results.at(0).Same() || results[0].identical != rows)
            throw std::runtime_error("the comparison is wrong");
    });
}

int Run(std::size_t rows) {
    const bench::ServerProcess server(
        [&] { return std::make_unique<LongTables>(static_cast<std::int64_t>(rows)); });
    const auto one = bench::Describe(server.Address(), u"one");
    const auto two = bench::Describe(server.Address(), u"two");
    Measured bounded, unbounded;
    for (int run = 0; run < 3; ++run) {
        bench::KeepLeast(bounded, MeasureTable(*one, *two, u"bounded", rows));
        bench::KeepLeast(unbounded, MeasureTable(*one, *two, u"unbounded", rows));
    }
    bench::PrintTime("nvarchar(200)", bounded, rows);
    bench::PrintTime("nvarchar(max)", unbounded, rows);
    bench::AtLeast("nvarchar(max) / nvarchar(200), by CPU", bounded.cpu / unbounded.cpu, MinRatio);
    return bench::AtLeast("nvarchar(max) / nvarchar(200), rows/s", bounded.wall / unbounded.wall,
                          MinRatio)
               ? 0
               : 1;
}

}  // namespace

int main(int argc, char** argv) {
    quillon::MakeDriverReachable();
    const std::size_t rows = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 300000;
    return bench::ExitStatusOf([&] { return Run(rows); });
}
