#include "scripts/TableScripts.h"

#include "catalog/Database.h"
#include "catalog/Login.h"
#include "compare/TableDifference.h"
#include "core/Text.h"
#include "data/Connection.h"
#include "data/Recordset.h"
#include "scripts/DifferenceScripts.h"

namespace QuillonLib {

namespace {

std::u16string Header(const Database& target, const TableDifference& obTableDifference,
                      enShowOptions enOptions) {
    if (HasOption(enOptions, cpoNoScriptComments)) return {};
    return u"-- Run this on " + target.Server() + u"." + target.DatabaseName() +
           u" to synchronize the contents of the " + obTableDifference.Name() +
           u" table\r\n"
           u"-- Please make sure you BACK UP THE DATABASE before running this script\r\n"
           u"\r\n";
}

// One direction's script while it is put together.
class ScriptOfTable {
  public:
    ScriptOfTable(std::u16string& script, const ProcedureDefinitions& procedures,
                  const DirectionCalls& calls, const TableDifference& obTableDifference)
        : script_(script),
          procedures_(procedures),
          calls_(calls),
          table_(obTableDifference.Name()),
          hasIdentity_(obTableDifference.HasIdentity()) {}

    void AppendUpToUpdates() {
        if (!calls_.Deletes.Empty()) AppendProcedure(procedures_.Delete, DeleteProcedure);
        if (!calls_.Inserts.Empty()) AppendProcedure(procedures_.Insert, InsertProcedure);
        if (!calls_.Updates.Empty()) AppendProcedure(procedures_.Update, UpdateProcedure);
        ReserveScript(script_, script_.size() + ExpectedLength(calls_) + 4 * table_.size() + 1024);
        AppendSwitch(true);
        script_ += CrLf;
        AppendCallLines(script_, CallOf(DeleteProcedure), calls_.Deletes, RowUse::Keep);
        script_ += CrLf;
    }

    void AppendFromInserts() {
        script_ += CrLf;
        AppendCallLines(script_, CallOf(InsertProcedure), calls_.Inserts, RowUse::Keep);
        script_ += CrLf;
        AppendSwitch(false);
        script_.append(CrLf).append(drops_);
    }

  private:
    void AppendProcedure(const std::u16string& definition, std::u16string_view procedure) {
        script_ += definition;
        drops_.append(DropOf(procedure)).append(CrLf);
    }

    void AppendSwitch(bool on) {
        if (!hasIdentity_) return;
        script_.append(CrLf).append(IdentityInsertStatement(true, table_, on)).append(CrLf);
    }

    std::u16string& script_;
    const ProcedureDefinitions& procedures_;
    const DirectionCalls& calls_;
    const std::u16string& table_;
    const bool hasIdentity_;
    std::u16string drops_;
};

void AppendBodies(std::u16string& sRight, std::u16string& sLeft, const ScriptPieces& pieces,
                  const TableDifference& obTableDifference) {
    ScriptOfTable right(sRight, pieces.Procedures, pieces.Right, obTableDifference);
    ScriptOfTable left(sLeft, pieces.Procedures, pieces.Left, obTableDifference);
    right.AppendUpToUpdates();
    left.AppendUpToUpdates();
    AppendCallLinePairs(sRight, sLeft, CallOf(UpdateProcedure), pieces.Right.Updates,
                        pieces.Left.Updates, RowUse::Keep);
    right.AppendFromInserts();
    left.AppendFromInserts();
}

}  // namespace

std::u16string IdentityInsertStatement(bool hasIdentity, const std::u16string& sTable, bool on) {
    if (!hasIdentity) return {};
    return u"SET IDENTITY_INSERT " + sTable + (on ? u" ON" : u" OFF");
}

void GetRecordsets(const Database& obDB1, const Database& obDB2, const Database& obDB3,
                   const TableDifference& obTableDifference, std::shared_ptr<Recordset>& rsEqual,
                   std::shared_ptr<Recordset>& rsDifferent, std::shared_ptr<Recordset>& rsRight,
                   std::shared_ptr<Recordset>& rsLeft, std::u16string& sRight,
                   std::u16string& sLeft, enShowOptions enOptions, std::int32_t lRecords) {
    if (!obTableDifference.Error().empty() || !obTableDifference.HasPrimaryKey()) return;

    DifferenceRowsets rowsets{rsEqual, rsDifferent, rsRight, rsLeft};
    const auto handOver = [&] {
        rsEqual = rowsets.Equal;
        rsDifferent = rowsets.Different;
        rsRight = rowsets.Right;
        rsLeft = rowsets.Left;
    };
    try {
        OpenDifferenceRowsets(obDB1, obDB2, obDB3, obTableDifference, enOptions, lRecords,
                              OpenConnection(obDB3), rowsets);
    } catch (...) {
        handOver();
        throw;
    }
    handOver();

    const ScriptPieces pieces = BuildScriptPieces(obTableDifference, rowsets, enOptions);
    sRight = Header(obDB2, obTableDifference, enOptions) + u"BEGIN TRANSACTION\r\n";
    sLeft = Header(obDB1, obTableDifference, enOptions) + u"BEGIN TRANSACTION\r\n";
    if (obTableDifference.IsView()) {
        sRight += CrLf;
        sLeft += CrLf;
    } else {
        AppendBodies(sRight, sLeft, pieces, obTableDifference);
    }
    sRight += u"COMMIT\r\n";
    sLeft += u"COMMIT\r\n";
}

}  // namespace QuillonLib
