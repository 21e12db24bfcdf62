// The entry class: every operation of the library that is not a property of one of its objects.
#pragma once

#include <memory>
#include <string>

#include "catalog/Database.h"
#include "compare/Choices.h"
#include "compare/EventSink.h"
#include "compare/TableDifference.h"
#include "core/Options.h"
#include "core/BoundedArray.h"

namespace QuillonLib {

// Create one, set EventSink, call an operation. An operation runs on the caller's thread, logs in
// to the servers that it needs, and holds nothing open when it returns. Every failure is an Error.
class Utils {
  public:
    // The text of the last failure of CompareContents or AvailableDatabases; each of the two
    // clears it first.
    const std::u16string& LastError() const { return lastError_; }

    // The receiver of events; none at first. The object is shared.
    void EventSink(std::shared_ptr<QuillonLib::EventSink> sink) { eventSink_ = std::move(sink); }

    // Whether a table that fails is reported as a ProcessError event and passed over (true), or
    // ends the comparison (false, the default).
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
    // been written to the system's event log. Numbers: 0x80040002 "Key columns differ" or "All
    // columns differ", 3265 for a table, index or database that is not there, 3704 for a table that
    // failed before its rows were counted, else those of data access (data/Diagnostic.h).
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

  private:
    std::u16string lastError_;
    std::shared_ptr<QuillonLib::EventSink> eventSink_;
    bool suppressCompareProcessErrors_ = false;
};

}  // namespace QuillonLib
