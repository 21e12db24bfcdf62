// Two databases "one" and "two" with a table t each, as a comparison in this process finds them:
// the engine answers for the catalog, and the rows of t are made up on the way.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "BenchSupport.h"
#include "EngineServer.h"

namespace bench {

enum class Sides {
    NearlyEqual,  // 1 % of the rows differ, and 0.1 % are on one side only
    Different,    // every row differs
};

// What is made up on which rows.
struct MadeUpTables {
    std::int64_t rows = 0;
    Sides sides = Sides::NearlyEqual;
    bool keyed = true;

    static bool IsLeftOut(std::int64_t row, int side) {
        return row % 1000 == 500 && (row / 1000 % 2 == 0) == (side == 2);
    }
    std::int64_t ChangeOf(std::int64_t row, int side) const {
        const bool differs = sides == Sides::Different || row % 100 == 50;
        return differs && side == 2 ? 1 : 0;
    }
};

inline void SendSide(sandbox::ResultSink& sink, const MadeUpTables& tables, int side) {
    MixedRows mixed;
    sink.Columns(mixed.Columns());
    std::int64_t sent = 0;
    for (std::int64_t i = 0; i < tables.rows; ++i) {
        if (tables.sides == Sides::NearlyEqual && MadeUpTables::IsLeftOut(i, side)) continue;
        mixed.Set(0, i, tables.ChangeOf(i, side));
        if (!mixed.Send(sink)) return;
        ++sent;
    }
    sink.StatementDone(sent, true, false);
}

class DirectTables : public EngineServer {
  public:
    explicit DirectTables(const MadeUpTables& tables) : tables_(tables) {
        for (const std::u16string name : {u"one", u"two"}) {
            Run(u"CREATE DATABASE " + name);
            Run(u"CREATE TABLE " + name + u".." + MixedTable);
            if (!tables.keyed) Run(u"ALTER TABLE " + name + u"..t DROP CONSTRAINT PK_t");
        }
    }

    std::unique_ptr<sandbox::Session> Login(const sandbox::LoginRequest& request) override {
        return std::make_unique<SideSession>(EngineServer::Login(request), tables_);
    }

  private:
    class SideSession : public sandbox::Session {
      public:
        SideSession(std::unique_ptr<sandbox::Session> engine, const MadeUpTables& tables)
            : engine_(std::move(engine)), tables_(tables) {}

        void Execute(std::u16string_view batch, sandbox::ResultSink& sink,
                     const std::atomic<bool>& cancelled) override {
            const std::u16string_view from =
                tables_.keyed ? u" FROM [dbo].[t] ORDER BY [Id]" : u" FROM [dbo].[t]";
            if (batch.find(from) == batch.npos) return engine_->Execute(batch, sink, cancelled);
            SendSide(sink, tables_, engine_->Database() == u"one" ? 1 : 2);
        }
        std::u16string Database() const override { return engine_->Database(); }
        int TransactionDepth() const override { return engine_->TransactionDepth(); }

      private:
        std::unique_ptr<sandbox::Session> engine_;
        const MadeUpTables& tables_;
    };

    const MadeUpTables& tables_;
};

}  // namespace bench
