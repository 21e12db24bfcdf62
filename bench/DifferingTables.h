// Two databases whose table t differs in every row: the engine answers for the catalog and the
// counts, and the differing rows themselves, far more than it holds, are made up on the way.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "BenchSupport.h"
#include "EngineServer.h"

namespace bench {

// As QuillonLib sends it; any other join of the two tables is answered alike.
inline constexpr const char16_t* DifferingRowsQuery =
    u"SELECT T1.*, T2.* FROM [one].[dbo].[t] T1 INNER JOIN [two].[dbo].[t] T2 ON T1.[Id]=T2.[Id]";

class DifferingTables : public EngineServer {
  public:
    explicit DifferingTables(std::size_t rows) : rows_(static_cast<std::int64_t>(rows)) {
        for (const char16_t* database : {u"one", u"two"}) {
            const std::u16string name = database;
            Run(u"CREATE DATABASE " + name);
            Run(u"CREATE TABLE " + name + u".." + MixedTable);
        }
        Run(u"INSERT one..t (Id, Amount) VALUES (1, 1)");
        Run(u"INSERT two..t (Id, Amount) VALUES (1, 2)");
    }

    std::unique_ptr<sandbox::Session> Login(const sandbox::LoginRequest& request) override {
        return std::make_unique<DifferingSession>(EngineServer::Login(request), rows_);
    }

  private:
    class DifferingSession : public sandbox::Session {
      public:
        DifferingSession(std::unique_ptr<sandbox::Session> engine, std::int64_t rows)
            : engine_(std::move(engine)), rows_(rows) {}

        void Execute(std::u16string_view batch, sandbox::ResultSink& sink,
                     const std::atomic<bool>& cancelled) override {
            const bool isJoin = batch.find(u" T1 INNER JOIN ") != batch.npos &&
                                batch.find(u"COUNT(*)") == batch.npos;
            // Asked for the columns alone, a bulk copy would read rows for ever.
            const bool columnsOnly = batch.find(u"SET FMTONLY ON") != batch.npos;
            if (isJoin) return SendRows(sink, columnsOnly ? 0 : rows_, 2);
            engine_->Execute(batch, sink, cancelled);
        }
        std::u16string Database() const override { return engine_->Database(); }
        int TransactionDepth() const override { return engine_->TransactionDepth(); }

      private:
        std::unique_ptr<sandbox::Session> engine_;
        std::int64_t rows_;
    };

    std::int64_t rows_;
};

}  // namespace bench
