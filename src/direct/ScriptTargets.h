// The tables that a script of statements changes, and what is known of them. Not installed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "catalog/CatalogFacts.h"
#include "data/Connection.h"
#include "direct/DirectResult.h"
#include "direct/DirectScript.h"
#include "direct/WriteOrder.h"

namespace QuillonLib {

class Database;

// What the script does to one table.
struct ScriptTarget {
    std::size_t table = 0;  // position in the list of tables
    DirectShape shape;
    std::uint64_t inserts = 0, updates = 0, deletes = 0;
    std::vector<std::size_t>
        unique;  // columns outside of the key that are updated and that a unique index sees
    bool dropsDuplicates = false;  // a unique index has IGNORE_DUP_KEY
    WrittenTable written;
};

class ScriptTargets {
  public:
    // The connection is to the database that is changed. All must outlive the object. Throws where
    // the server is too old for such scripts.
    ScriptTargets(const Database& database, const DirectScriptOptions& options,
                  std::shared_ptr<Connection> connection);

    // `given`: the differences that are at hand. Throws where they are not all of them, and where a
    // change cannot be written.
    void Take(std::size_t index, const DirectTableResult& result, std::uint64_t given);

    std::int32_t Version() const { return version_; }

    std::vector<ScriptTarget> targets;     // those that are written
    std::vector<DirectScriptTable> told;   // those with differences
    std::vector<std::u16string> comments;  // for the head

  private:
    const ObjectName& NameOf(const DirectShape& shape) const;
    ColumnFacts& FactsOf(DirectColumn& column) const;
    void ReadTarget(ScriptTarget& target, const DirectTableResult& result, DirectScriptTable& line);

    const Database& database_;
    const DirectScriptOptions& options_;
    std::shared_ptr<Connection> connection_;
    std::int32_t version_ = 0;
    std::int32_t page_ = 0;
};

}  // namespace QuillonLib
