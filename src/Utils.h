// The entry class: every operation of the library that is not a property of one of its objects.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "catalog/Database.h"
#include "compare/Choices.h"
#include "compare/EventSink.h"
#include "compare/TableDifference.h"
#include "core/BoundedArray.h"
#include "core/Export.h"
#include "core/Options.h"
#include "util/EncryptedText.h"

namespace QuillonLib {

class Recordset;

// Create one, set EventSink, call an operation. An operation runs on the caller's thread, logs in
// to the servers that it needs, and holds nothing open when it returns. Every failure is an Error.
class QUILLON_API Utils {
  public:
    // The text of the last failure of CompareContents or AvailableDatabases; each of the two
    // clears it first.
    const std::u16string& LastError() const { return lastError_; }

    // The receiver of events; none at first. The object is shared. A handler may set another one,
    // which receives the events that follow.
    void EventSink(std::shared_ptr<QuillonLib::EventSink> sink) { eventSink_ = std::move(sink); }

    // Whether a table that fails is reported as a ProcessError event and passed over (true), or
    // ends the comparison (false, the default). What a handler sets here holds from the next table
    // on.
    bool SuppressCompareProcessErrors() const { return suppressCompareProcessErrors_; }
    void SuppressCompareProcessErrors(bool value) { suppressCompareProcessErrors_ = value; }

    // Compares the rows of the listed tables and indexed views of databases 1 and 2 and returns
    // one result for each, or null when a handler of Status or ProcessError cancelled. Queries
    // across the databases run on the server of database 3, which may be database 1 or 2 again.
    //
    // sTables: table entries, "[owner].[name]". A Server that is "." or "(local)" is replaced by
    // the name of this computer, for good; LinkedServer is set in a database that is not on the
    // server of database 3.
    //
    // Throws an Error with the number of the cause; its description is LastError, which has also
    // been written to the system's event log. Numbers: 3704 for a table that failed before its rows
    // were counted (it or its chosen index is not there, or "Key columns differ": the result's
    // Error tells), 0x80040002 "All columns differ", else those of data access
    // (data/Diagnostic.h). 91, with an empty LastError and no entry in the log, for a null
    // database.
    std::shared_ptr<TableDifferences> CompareContents(const std::shared_ptr<Database>& obDB1,
                                                      const std::shared_ptr<Database>& obDB2,
                                                      const std::shared_ptr<Database>& obDB3,
                                                      const TextArray& sTables,
                                                      const IndexChoices& obIndexCollection,
                                                      const ColumnChoices& obColumnCollection);

    // The same for callers that hold their choices in dictionaries. Error 457 when two of a
    // dictionary's keys differ in case only.
    std::shared_ptr<TableDifferences> CompareContentsEx(const std::shared_ptr<Database>& obDB1,
                                                        const std::shared_ptr<Database>& obDB2,
                                                        const std::shared_ptr<Database>& obDB3,
                                                        const TextArray& sTables,
                                                        const IndexDictionary& obIndexes,
                                                        const ColumnDictionary& obColumns);

    // The rows behind one table's result, and the two scripts that remove its differences.
    //
    // enOptions: cpoShowIdentical, cpoShowDifferent, cpoShowMissing and cpoShowAdditional ask for
    // rsEqual, rsDifferent, rsRight (only in database 1) and rsLeft (only in database 2); a row set
    // that is not asked for becomes null. In rsDifferent every column stands twice, its name
    // followed by "_1" and "_2". sRight is to be run on database 2, sLeft on database 1; they cover
    // the rows of the row sets that were asked for, and no more than lRecords of each with
    // cpoLimitRecordsReturned.
    //
    // Nothing is touched when the result has an Error or no key. An Error of the servers reaches
    // the caller; outputs set before it keep their values. Error 0x80040002 when a key column is
    // one that scripts cannot carry: computed, timestamp or, with cpoIgnoreReplCols, the
    // replication column; and when text of char, varchar or text, in either direction, would be
    // other text in the code page of the database that it is written to. Error 0x80004005 when
    // bytes of such a column, or a char value in a sql_variant, cannot be carried as text at all.
    // Both name table and column.
    void GetRecordsets(const std::shared_ptr<Database>& obDB1,
                       const std::shared_ptr<Database>& obDB2,
                       const std::shared_ptr<Database>& obDB3,
                       const std::shared_ptr<TableDifference>& obTableDifference,
                       std::shared_ptr<Recordset>& rsEqual, std::shared_ptr<Recordset>& rsDifferent,
                       std::shared_ptr<Recordset>& rsRight, std::shared_ptr<Recordset>& rsLeft,
                       std::u16string& sRight, std::u16string& sLeft, enShowOptions enOptions,
                       std::int32_t lRecords);

    // One pair of scripts for a whole comparison, each in one transaction, the tables ordered by
    // the dependencies that the catalog of database 1 holds (set its CheckDependencies). Tables
    // without a key or with one that scripts cannot carry (see GetRecordsets), with an Error,
    // views, and tables of a dependency cycle get no part in it.
    //
    // Raises Status; after a cancel the scripts keep what they held (nothing, before the first is
    // written). An Error of the servers reaches the caller, and so does that of text that cannot be
    // carried (see GetRecordsets): then no table gets a script; 5 when database 1 no longer has a
    // table, 6 for more than 32,767 tables.
    void GetUpdateScripts(const std::shared_ptr<Database>& obDB1,
                          const std::shared_ptr<Database>& obDB2,
                          const std::shared_ptr<Database>& obDB3,
                          const std::shared_ptr<TableDifferences>& obTableDifferences,
                          std::u16string& sLeft, std::u16string& sRight, enShowOptions enOptions,
                          std::int32_t lRecords);

    // The SQL Server instances that answer on the network, "HOST" or "HOST\INSTANCE", in an array
    // from 1; nothing when there is none. Error 0x80004005 when the network cannot be asked; it
    // does not become LastError.
    std::optional<TextArray> AvailableServers() const;

    // The databases of a server, in an array from 1; nothing when there is none. Without a user
    // the login is integrated and the password is not used. The server has 20 seconds to answer
    // the login. The Error of a failure is LastError too.
    std::optional<TextArray> AvailableDatabases(std::u16string_view sServer,
                                                std::u16string_view sUser = {},
                                                std::u16string_view sPassword = {});

    // The batches of a script, in an array from 0: the pieces between lines that hold exactly
    // "GO" (CR LF "GO" CR LF). Empty pieces are kept; an empty script has none.
    TextArray GetSQLStatementsFromScript(std::u16string_view sScript) const;

    // Under a pass phrase, which counts in Windows-1252; do not trust it with secrets (see
    // util/EncryptedText.h). A wrong pass phrase is not noticed: it decrypts to garbage. Errors: 9
    // for an empty text, an empty array, or one that does not begin at 0; 0x80040001 for a
    // cryptographic call that failed, its description telling which.
    EncryptedText EncryptText(std::u16string_view sText, std::u16string_view sPassword) const;
    std::u16string DecryptText(const EncryptedText& vBytes, std::u16string_view sPassword) const;
    // The bytes of the text's UTF-16 units are what is decrypted.
    std::u16string DecryptText(std::u16string_view vBytes, std::u16string_view sPassword) const;

  private:
    std::u16string lastError_;
    std::shared_ptr<QuillonLib::EventSink> eventSink_;
    bool suppressCompareProcessErrors_ = false;
};

}  // namespace QuillonLib
