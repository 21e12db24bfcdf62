// The rows of one query, block by block and forward only.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "data/Recordset.h"
#include "data/RowPacker.h"

namespace QuillonLib {

// Keeps nothing but what is on its way: a block lives as long as its reader holds it. Not
// installed.
//
// Text of a code page (char, varchar, text) comes as the bytes that the server holds, of kind
// Bytes; all other columns come as in a Recordset. While a stream is open its connection can do
// nothing else; whoever lets go of a stream before its end has the server stop.
class RowStream {
  public:
    // Runs a batch and stands before its first row set. Throws the Error of the batch, and Error
    // DataAccess where it has no row set.
    RowStream(std::u16string_view sql, std::shared_ptr<Connection> connection);
    ~RowStream();
    RowStream(const RowStream&) = delete;
    RowStream& operator=(const RowStream&) = delete;

    const std::vector<FieldInfo>& Fields() const noexcept;

    // Never an empty block; null after the last one. Throws the first Error of the batch, at the
    // latest where the rows end: rows that an error cut short never look whole.
    std::shared_ptr<const RowBlock> Next();

  private:
    class Reading;
    std::unique_ptr<Reading> reading_;
};

}  // namespace QuillonLib
