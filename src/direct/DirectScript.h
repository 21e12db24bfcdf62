// A script of plain statements that makes the rows of one side those of the other.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/Export.h"
#include "direct/DirectResult.h"

namespace QuillonLib {

class Database;

struct DirectScriptOptions {
    int target = 2;  // the side that is changed: 1 or 2
    bool inserts = true;
    bool updates = true;
    bool deletes = true;
    // The old values of rows that are changed or deleted stand in the conditions, and the script
    // ends, with nothing changed, where one row is not as it was compared, or is not inserted.
    bool guard = false;
    // Lines of the script's head, for whoever gets the script later: what it was not asked to bring
    // over, say. They stand in comments, whatever they hold.
    std::vector<std::u16string> remarks{};
};

// Why a script leaves a table out that differs; as the target has it.
enum class DirectLeftOut : std::uint8_t {
    No,
    View,
    History,  // of a temporal table
    // Its rows have no key, and columns that are not compared would lose their values: a change is
    // written as a row that goes and one that comes.
    LosesColumns,
};

// What a script does to one table.
struct DirectScriptTable {
    std::size_t table = 0;      // position in the list of tables
    std::uint64_t deletes = 0;  // rows
    std::uint64_t updates = 0;
    std::uint64_t inserts = 0;
    DirectLeftOut leftOut = DirectLeftOut::No;

    bool LeftOut() const { return leftOut != DirectLeftOut::No; }
};

// Gathers the differences of a comparison, in a temporary file if they are many, and writes the
// script when the comparison is over.
//
// The script suits every client that cuts batches at lines "GO". It runs in one transaction, and
// each batch begins with a look whether that is still there and whether the batch before it came to
// its end; if not, no later batch does anything, and all is rolled back. Its last line says what
// has become of it.
//
// Rows are deleted from children to parents, then updated and inserted from parents to children,
// by the foreign keys of the target. Where these form a cycle, refer to their own table, or lead
// away from rows that are deleted, their columns are NULL for the time being; where that cannot be,
// those foreign keys are suspended, and checked again at the end. So are those that would delete or
// change referring rows by themselves (ON DELETE, ON UPDATE), and those that refer to what may pass
// from one row to another, of whatever tables. One that the
// server does not trust, for there may be rows that refer to nothing, is not checked at the end.
class QUILLON_API DirectScriptWriter {
  public:
    // `target`: the database of the side that is changed. Throws Error InvalidArgument for a target
    // that is neither 1 nor 2.
    DirectScriptWriter(const Database& target, const DirectScriptOptions& options);
    ~DirectScriptWriter();
    DirectScriptWriter(const DirectScriptWriter&) = delete;
    DirectScriptWriter& operator=(const DirectScriptWriter&) = delete;

    // From DirectSink::Difference, each difference once, but no rows that are the same. Throws
    // Error FileAccess where there is no room for it.
    void Add(const DirectDifference& difference);

    // Writes the script piece by piece. Tables that were not compared to their end are left out,
    // and named in the script's head, as are views and histories of temporal tables. `results`:
    // what the comparison returned. Can be called again. `begins`, if there is one, is called with
    // a table before statements that are about it: twice or more for most. Returns the tables of
    // which rows are, or would be, written, in their order.
    //
    // Throws Error, and what has been written is no script then:
    //   InvalidArgument  differences of a table that were not added, or more than once
    //   DataAccess  NotCarried: a value that the target's column would not hold as it is, or that
    //               no literal can carry; names table and column. Also as Connection gives it.
    //   Comparison  a server before SQL Server 2005; an identity column that had to be updated
    //   FileAccess  the temporary file
    // What `out` throws passes through.
    std::vector<DirectScriptTable> Write(const std::vector<DirectTableResult>& results,
                                         const std::function<void(std::u16string_view)>& out,
                                         const std::function<void(std::size_t table)>& begins = {});

  private:
    class QUILLON_LOCAL Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace QuillonLib
