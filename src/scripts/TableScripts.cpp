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

void AppendProcedure(std::u16string& script, std::u16string& drops,
                     const std::u16string& definition, std::u16string_view procedure) {
    script.append(definition);
    drops.append(DropOf(procedure)).append(CrLf);
}

// What goes into one direction's script between its header and its end.
void AppendBody(std::u16string& script, std::u16string& drops, CallRuns& runs,
                const ProcedureDefinitions& procedures, bool hasUpdates,
                const TableDifference& obTableDifference) {
    if (!runs.Deletes.empty()) {
        AppendProcedure(script, drops, procedures.Delete, DeleteProcedure);
    }
    if (!runs.Inserts.empty()) {
        AppendProcedure(script, drops, procedures.Insert, InsertProcedure);
    }
    if (hasUpdates) AppendProcedure(script, drops, procedures.Update, UpdateProcedure);

    const bool hasIdentity = obTableDifference.HasIdentity();
    const std::u16string& table = obTableDifference.Name();
    const auto appendSwitch = [&](bool on) {
        if (!hasIdentity) return;
        script.append(CrLf).append(IdentityInsertStatement(true, table, on)).append(CrLf);
    };

    script.reserve(script.size() + runs.Deletes.size() + runs.Updates.size() + runs.Inserts.size() +
                   1024);
    appendSwitch(true);
    for (TextRun* run : {&runs.Deletes, &runs.Updates, &runs.Inserts}) {
        script.append(CrLf);
        run->MoveTo(script);
    }
    script.append(CrLf);
    appendSwitch(false);
}

void AppendEnd(std::u16string& script, const std::u16string& drops) {
    script.append(CrLf).append(drops).append(u"COMMIT\r\n");
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

    ScriptPieces pieces = BuildScriptPieces(obTableDifference, rowsets, enOptions);
    sRight = Header(obDB2, obTableDifference, enOptions) + u"BEGIN TRANSACTION\r\n";
    sLeft = Header(obDB1, obTableDifference, enOptions) + u"BEGIN TRANSACTION\r\n";
    std::u16string rightDrops;
    std::u16string leftDrops;
    if (!obTableDifference.IsView()) {
        // Both update runs come from the same rows, so one of them tells for both.
        const bool hasUpdates = !pieces.Right.Updates.empty();
        AppendBody(sRight, rightDrops, pieces.Right, pieces.Procedures, hasUpdates,
                   obTableDifference);
        AppendBody(sLeft, leftDrops, pieces.Left, pieces.Procedures, hasUpdates, obTableDifference);
    }
    AppendEnd(sLeft, leftDrops);
    AppendEnd(sRight, rightDrops);
}

}  // namespace QuillonLib
