#include "scripts/UpdateScripts.h"

#include <algorithm>
#include <map>
#include <vector>

#include "catalog/Database.h"
#include "catalog/Login.h"
#include "compare/TableDifference.h"
#include "core/Text.h"
#include "data/Connection.h"
#include "data/Recordset.h"
#include "scripts/DifferenceScripts.h"
#include "scripts/ScriptColumns.h"
#include "scripts/TableOrder.h"
#include "scripts/TableScripts.h"

namespace QuillonLib {

namespace {

constexpr int StepsPerTable = 3;  // building, the delete pass, the insert and update pass

// The line ends behind the elements of an insert or update section. They differ between the two
// scripts and sections; scripts have always been written so.
struct SectionLayout {
    std::u16string_view AfterComment;
    std::u16string_view AfterSwitchOn;
    std::u16string_view AfterSwitchOff;
};
constexpr SectionLayout RightInsert{u"\r\n\r\n", u"\r\n\r\n", u"\r\n\r\n"};
constexpr SectionLayout LeftInsert{u"\r\n", u"\r\n\r\n", u"\r\n\r\n"};
constexpr SectionLayout RightUpdate{u"\r\n\r\n", u"\r\n", u"\r\n"};
constexpr SectionLayout LeftUpdate{u"\r\n\r\n", u"\r\n\r\n", u"\r\n\r\n"};

// A handler stopped the operation.
struct Cancelled {};

class UpdateScriptWriter {
  public:
    UpdateScriptWriter(Database& obDB1, const Database& obDB2, const Database& obDB3,
                       const TableDifferences& obTableDifferences, std::u16string& sLeft,
                       std::u16string& sRight, enShowOptions enOptions, std::int32_t lRecords,
                       const Events& events)
        : obDB1_(obDB1),
          obDB2_(obDB2),
          obDB3_(obDB3),
          differences_(obTableDifferences),
          sLeft_(sLeft),
          sRight_(sRight),
          enOptions_(enOptions),
          lRecords_(lRecords),
          events_(events) {}

    void Run() {
        sLeft_.clear();
        sRight_.clear();
        if (differences_.Count() > 0) step_ = 100.0 / (differences_.Count() * StepsPerTable);

        BuildPieces();
        RaiseStatus(u"Ordering scripts");
        RaiseStatus(u"Ordering scripts");
        const std::vector<PlacedTable> order = OrderTablesByDependency(obDB1_, differences_);

        Reserve();
        BeginScripts();
        WriteDeletes(order);
        WriteInsertsAndUpdates(order);
        sRight_.append(u"COMMIT\r\n");
        sLeft_.append(u"COMMIT\r\n");
    }

  private:
    void Advance(const std::u16string& sMessage) {
        progress_ += step_;
        RaiseStatus(sMessage);
    }

    void RaiseStatus(const std::u16string& sMessage) {
        bool bCancel = false;
        events_.RaiseStatus(sMessage, RoundPercent(progress_), bCancel);
        if (bCancel) throw Cancelled();
    }

    void BuildPieces() {
        for (const auto& difference : differences_) {
            // "Buliding": front ends know the event by this spelling.
            Advance(u"Buliding script for " + difference->Name());
            pieces_[difference->Name()] = PiecesOf(*difference);
        }
    }

    bool GetsScript(const TableDifference& difference) const {
        return difference.Error().empty() && difference.HasPrimaryKey() && !difference.IsView() &&
               KeyColumnOutsideScripts(*difference.Columns(), enOptions_).empty();
    }

    ScriptPieces PiecesOf(const TableDifference& difference) {
        if (!GetsScript(difference)) return {};
        if (connection3_ == nullptr) connection3_ = OpenConnection(obDB3_);
        // The identical rows are behind no line of a script.
        const auto options = static_cast<enShowOptions>(enOptions_ & ~cpoShowIdentical);
        DifferenceRowsets rowsets;
        OpenDifferenceRowsets(obDB1_, obDB2_, obDB3_, difference, options, lRecords_, connection3_,
                              rowsets);
        return BuildScriptPieces(difference, rowsets, options);
    }

    void Reserve() {
        std::size_t right = 0;
        std::size_t left = 0;
        for (const auto& [name, pieces] : pieces_) {
            const std::size_t frame = 3 * (pieces.Procedures.Update.size() + 4 * name.size() + 200);
            right += frame + ExpectedLength(pieces.Right);
            left += frame + ExpectedLength(pieces.Left);
        }
        ReserveScript(sRight_, right);
        ReserveScript(sLeft_, left);
    }

    bool WithComments() const { return !HasOption(enOptions_, cpoNoScriptComments); }

    void BeginScript(std::u16string& script, const Database& target, const Database& model) const {
        if (WithComments()) {
            script.append(u"-- Run this on " + target.Server() + u"." + target.DatabaseName() +
                          u" to synchronize with " + model.Server() + u"." + model.DatabaseName() +
                          u"\r\n"
                          u"-- Please make sure you BACK UP THE DATABASE before running this "
                          u"script\r\n"
                          u"\r\n");
        }
        script.append(u"BEGIN TRANSACTION\r\n\r\n");
    }

    void BeginScripts() {
        BeginScript(sRight_, obDB2_, obDB1_);
        BeginScript(sLeft_, obDB1_, obDB2_);
    }

    // From the last placed tables to the first; tables of one pass keep their order.
    void WriteDeletes(const std::vector<PlacedTable>& order) {
        std::vector<PlacedTable> descending = order;
        std::stable_sort(
            descending.begin(), descending.end(),
            [](const PlacedTable& a, const PlacedTable& b) { return a.Sequence > b.Sequence; });
        const std::int16_t count = CountOfPlaced(descending);
        for (std::int16_t row = 0; row < count; ++row) {
            const PlacedTable& table = descending[static_cast<std::size_t>(row)];
            Advance(u"Outputting scripts");
            if (table.Name.empty()) continue;
            const ScriptPieces& pieces = pieces_.at(table.Name);
            WriteDeleteSection(sRight_, table.Name, pieces, pieces.Right.Deletes);
            WriteDeleteSection(sLeft_, table.Name, pieces, pieces.Left.Deletes);
        }
    }

    void WriteDeleteSection(std::u16string& script, const std::u16string& name,
                            const ScriptPieces& pieces, const CallLines& deletes) const {
        if (deletes.Empty()) return;
        script.append(u"PRINT 'Deleting records in " + name + u"'\r\n\r\n");
        if (WithComments()) script.append(u"-- Delete procedure for " + name + u"\r\n\r\n");
        script.append(pieces.Procedures.Delete).append(CrLf);
        // The other script inserts these rows.
        AppendCallLines(script, CallOf(DeleteProcedure), deletes, RowUse::Keep);
        script.append(u"\r\n\r\n").append(DropOf(DeleteProcedure)).append(u"\r\n\r\n\r\n");
    }

    void WriteInsertsAndUpdates(const std::vector<PlacedTable>& order) {
        const std::int16_t count = CountOfPlaced(order);
        for (std::int16_t row = 0; row < count; ++row) {
            const PlacedTable& table = order[static_cast<std::size_t>(row)];
            Advance(u"Outputting scripts");
            if (table.Name.empty()) continue;
            const ScriptPieces& pieces = pieces_.at(table.Name);
            AnnounceUpdates(sRight_, table.Name, pieces.Right);
            AnnounceUpdates(sLeft_, table.Name, pieces.Left);
            WriteInserts(sRight_, table, pieces, pieces.Right.Inserts, RightInsert);
            WriteInserts(sLeft_, table, pieces, pieces.Left.Inserts, LeftInsert);
            WriteUpdates(table, pieces);
        }
    }

    static void AnnounceUpdates(std::u16string& script, const std::u16string& name,
                                const DirectionCalls& calls) {
        if (calls.Inserts.Empty() && calls.Updates.Empty()) return;
        script.append(u"PRINT 'Updating records in " + name + u"'\r\n\r\n");
    }

    void WriteInserts(std::u16string& script, const PlacedTable& table, const ScriptPieces& pieces,
                      const CallLines& inserts, const SectionLayout& layout) const {
        if (inserts.Empty()) return;
        BeginSection(script, table, u"-- Insert procedure for ", pieces.Procedures.Insert, layout);
        AppendCallLines(script, CallOf(InsertProcedure), inserts, RowUse::Release);
        EndSection(script, table, InsertProcedure, layout);
    }

    void WriteUpdates(const PlacedTable& table, const ScriptPieces& pieces) const {
        if (pieces.Right.Updates.Empty()) return;
        const auto begin = [&](std::u16string& script, const SectionLayout& layout) {
            BeginSection(script, table, u"-- Update procedure for ", pieces.Procedures.Update,
                         layout);
        };
        begin(sRight_, RightUpdate);
        begin(sLeft_, LeftUpdate);
        AppendCallLinePairs(sRight_, sLeft_, CallOf(UpdateProcedure), pieces.Right.Updates,
                            pieces.Left.Updates, RowUse::Release);
        EndSection(sRight_, table, UpdateProcedure, RightUpdate);
        EndSection(sLeft_, table, UpdateProcedure, LeftUpdate);
    }

    void BeginSection(std::u16string& script, const PlacedTable& table, std::u16string_view comment,
                      const std::u16string& definition, const SectionLayout& layout) const {
        if (WithComments()) script.append(comment).append(table.Name).append(layout.AfterComment);
        script.append(definition).append(CrLf);
        script.append(IdentityInsertStatement(table.HasIdentity, table.Name, true))
            .append(layout.AfterSwitchOn);
    }

    static void EndSection(std::u16string& script, const PlacedTable& table,
                           std::u16string_view procedure, const SectionLayout& layout) {
        script.append(u"\r\n\r\n");
        script.append(IdentityInsertStatement(table.HasIdentity, table.Name, false))
            .append(layout.AfterSwitchOff);
        script.append(DropOf(procedure)).append(u"\r\n\r\n\r\n");
    }

    Database& obDB1_;
    const Database& obDB2_;
    const Database& obDB3_;
    const TableDifferences& differences_;
    std::u16string& sLeft_;
    std::u16string& sRight_;
    const enShowOptions enOptions_;
    const std::int32_t lRecords_;
    const Events& events_;

    std::shared_ptr<Connection> connection3_;
    std::map<std::u16string, ScriptPieces> pieces_;
    double step_ = 0;
    double progress_ = 0;
};

}  // namespace

void GetUpdateScripts(Database& obDB1, const Database& obDB2, const Database& obDB3,
                      const TableDifferences& obTableDifferences, std::u16string& sLeft,
                      std::u16string& sRight, enShowOptions enOptions, std::int32_t lRecords,
                      const Events& events) {
    try {
        UpdateScriptWriter(obDB1, obDB2, obDB3, obTableDifferences, sLeft, sRight, enOptions,
                           lRecords, events)
            .Run();
    } catch (const Cancelled&) {
        // The scripts keep what they hold.
    }
}

}  // namespace QuillonLib
