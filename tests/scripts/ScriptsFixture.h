// Two databases that have been compared, and the scripts that come of it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "data/Recordset.h"
#include "tests/compare/ComparisonFixture.h"
#include "tests/support/Holds.h"

namespace QuillonLib {

inline constexpr auto EverythingShown =
    cpoShowIdentical | cpoShowDifferent | cpoShowMissing | cpoShowAdditional;

// Every line with its line end.
inline std::u16string Lines(const Texts& lines) {
    std::u16string text;
    for (const auto& line : lines)
        text += line + u"\r\n";
    return text;
}

// What makes room for a procedure.
inline constexpr const char16_t* IfDeleteExists =
    u"IF EXISTS (select * from dbo.sysobjects where id = object_id(N'[dbo].[prcTmp_QVX_Delete]') "
    u"and OBJECTPROPERTY(id, N'IsProcedure') = 1) drop procedure [dbo].[prcTmp_QVX_Delete]";
inline constexpr const char16_t* IfInsertExists =
    u"IF EXISTS (select * from dbo.sysobjects where id = object_id(N'[dbo].[prcTmp_QVX_Insert]') "
    u"and OBJECTPROPERTY(id, N'IsProcedure') = 1) drop procedure [dbo].[prcTmp_QVX_Insert]";
inline constexpr const char16_t* IfUpdateExists =
    u"IF EXISTS (select * from dbo.sysobjects where id = object_id(N'[dbo].[prcTmp_QVX_Update]') "
    u"and OBJECTPROPERTY(id, N'IsProcedure') = 1) drop procedure [dbo].[prcTmp_QVX_Update]";

// A procedure between its two GO, behind what makes room for it: several lines of a script, without
// the end of the last, to stand in a list of lines.
inline std::u16string Procedure(const std::u16string& ifExists, const std::u16string& head,
                                const std::u16string& body) {
    return ifExists + u"\r\nGO\r\n" + head + u"\r\n" + body + u"\r\nGO";
}

// Both scripts where no table has a section, and there are no comments.
inline constexpr const char16_t* NoSections = u"BEGIN TRANSACTION\r\n\r\nCOMMIT\r\n";

class ScriptsFixture : public ComparisonFixture {
  protected:
    // Six outputs of one call, with the two strings as they were before it.
    struct TableOutputs {
        std::shared_ptr<Recordset> equal;
        std::shared_ptr<Recordset> different;
        std::shared_ptr<Recordset> right;
        std::shared_ptr<Recordset> left;
        std::u16string sRight = u"as it was";
        std::u16string sLeft = u"as it was";
    };

    void GetRecordsets(const std::shared_ptr<TableDifference>& result, TableOutputs& outputs,
                       enShowOptions options = EverythingShown, std::int32_t records = 0) {
        utils.GetRecordsets(one, two, one, result, outputs.equal, outputs.different, outputs.right,
                            outputs.left, outputs.sRight, outputs.sLeft, options, records);
    }
    TableOutputs RecordsetsOf(const std::u16string& table, enShowOptions options = EverythingShown,
                              std::int32_t records = 0) {
        const auto result = CompareOne(table);
        EXPECT_EQ(result->Error(), u"");
        TableOutputs outputs;
        server.ClearLog();
        GetRecordsets(result, outputs, options, records);
        return outputs;
    }

    struct Scripts {
        std::u16string sRight;
        std::u16string sLeft;
    };
    Scripts UpdateScriptsOf(const std::shared_ptr<TableDifferences>& results,
                            enShowOptions options = EverythingShown, std::int32_t records = 0) {
        Scripts scripts{u"as it was", u"as it was"};
        statuses.clear();
        server.ClearLog();
        utils.GetUpdateScripts(one, two, one, results, scripts.sLeft, scripts.sRight, options,
                               records);
        return scripts;
    }
    Scripts UpdateScriptsOf(const Texts& tables, enShowOptions options = EverythingShown,
                            std::int32_t records = 0) {
        one->CheckDependencies(true);
        return UpdateScriptsOf(Compare(tables), options, records);
    }

    // The call lines of a script, without their line ends.
    static Texts CallsIn(const std::u16string& script) {
        Texts calls;
        for (std::size_t at = script.find(u"\r\nEXEC "); at != script.npos;
             at = script.find(u"\r\nEXEC ", at + 2)) {
            calls.push_back(script.substr(at + 2, script.find(u"\r\n", at + 2) - at - 2));
        }
        return calls;
    }

    // The server's address holds a port that no literal can know.
    std::u16string WithoutAddress(std::u16string text) const {
        const std::u16string address = server.Address();
        for (std::size_t at = text.find(address); at != text.npos; at = text.find(address)) {
            text.replace(at, address.size(), u"SERVER");
        }
        return text;
    }
};

}  // namespace QuillonLib
