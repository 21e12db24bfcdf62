#include "direct/DirectScript.h"

#include <algorithm>
#include <array>
#include <utility>

#include "catalog/CatalogReader.h"
#include "catalog/Database.h"
#include "catalog/Identifiers.h"
#include "catalog/Login.h"
#include "catalog/UniqueIndexFacts.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "data/Recordset.h"
#include "direct/BatchWriter.h"
#include "direct/DifferenceSpool.h"
#include "direct/ServerFacts.h"
#include "direct/StatementWriter.h"
#include "direct/StrayRows.h"
#include "direct/WriteOrder.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t FirstVersionWithLists = 10;  // of rows behind VALUES
constexpr std::int32_t FirstVersionWithScripts = 9;

using Positions = std::vector<std::size_t>;

Positions Both(const std::vector<bool>& changed, const Positions& among) {
    Positions both;
    for (const std::size_t column : among) {
        if (changed[column]) both.push_back(column);
    }
    return both;
}

bool Contains(const Positions& list, std::size_t item) {
    return std::find(list.begin(), list.end(), item) != list.end();
}

// What the script does to one table.
struct Target {
    std::size_t table = 0;  // position in the list of tables
    DirectShape shape;
    std::uint64_t inserts = 0, updates = 0, deletes = 0;
    Positions unique;  // columns outside of the key that are updated and that a unique index sees
    bool dropsDuplicates = false;  // a unique index has IGNORE_DUP_KEY
    WrittenTable written;
};

}  // namespace

class DirectScriptWriter::Impl {
  public:
    Impl(const Database& target, const DirectScriptOptions& options)
        : database_(target), options_(options) {}

    DifferenceSpool spool;

    std::vector<DirectScriptTable> Write(const std::vector<DirectTableResult>& results,
                                         const std::function<void(std::u16string_view)>& out,
                                         const std::function<void(std::size_t)>& begins) {
        begins_ = begins;
        targets_.clear();
        told_.clear();
        comments_.clear();
        identityTables_.clear();
        connection_ = OpenConnection(database_);
        version_ = ServerVersion(connection_);
        if (version_ < FirstVersionWithScripts) {
            throw Error(ErrorNumber::Comparison,
                        u"Scripts of statements need SQL Server 2005 or later.");
        }
        ReadDatabasePage();
        for (std::size_t i = 0; i < results.size(); ++i)
            TakeTable(i, results[i]);
        std::vector<WrittenTable> written;
        for (const Target& target : targets_)
            written.push_back(target.written);
        order_ = OrderWrites(written, ReadForeignKeyFacts(connection_));
        connection_->Close();
        WriteAll(out);
        return std::move(told_);
    }

  private:
    void ReadDatabasePage() {
        Recordset rows;
        rows.Open(
            u"SELECT CAST(COLLATIONPROPERTY(CAST(DATABASEPROPERTYEX(DB_NAME(), 'Collation')"
            u" AS nvarchar(128)), 'CodePage') AS int)",
            connection_);
        const Value page = rows.Fields(std::size_t{0}).Value();
        page_ = page.IsNull() ? 0 : static_cast<std::int32_t>(ToInt64(page));
    }

    const ObjectName& NameOf(const DirectShape& shape) const {
        return options_.target == 1 ? shape.table : shape.table2;
    }
    ColumnFacts& FactsOf(DirectColumn& column) const {
        return options_.target == 1 ? column.side1 : column.side2;
    }

    void TakeTable(std::size_t index, const DirectTableResult& result) {
        const ObjectName& name = NameOf(result.shape);
        const std::u16string entry = MakeTableEntry(name.Owner, name.Name);
        if (!result.complete) {
            const std::u16string why =
                result.error ? result.error->Description() : u"it was cancelled";
            comments_.push_back(u"Left out, not compared to its end: " + entry + u": " + why);
            return;
        }
        RequireAll(index, result, entry);
        Target target;
        target.table = index;
        target.inserts = options_.target == 1 ? result.onlyIn2 : result.onlyIn1;
        target.deletes = options_.target == 1 ? result.onlyIn1 : result.onlyIn2;
        target.updates = result.differing;
        if (!options_.inserts) target.inserts = 0;
        if (!options_.updates) target.updates = 0;
        if (!options_.deletes) target.deletes = 0;
        if (target.inserts + target.updates + target.deletes == 0) return;
        target.shape = result.shape;
        auto& told = told_.emplace_back(
            DirectScriptTable{index, target.deletes, target.updates, target.inserts});
        ReadTarget(target, result, told);
        if (told.LeftOut()) {
            comments_.push_back(u"Left out, " + Named(told.leftOut) + u": " + entry);
            return;
        }
        comments_.push_back(entry + u": " + Count(target.deletes, u"deleted") + u", " +
                            Count(target.updates, u"updated") + u", " +
                            Count(target.inserts, u"inserted"));
        for (const DirectOmitted& omitted : result.shape.omitted)
            comments_.push_back(u"    without column " + omitted.name);
        targets_.push_back(std::move(target));
    }

    static std::u16string Named(DirectLeftOut why) {
        if (why == DirectLeftOut::View) return u"a view";
        if (why == DirectLeftOut::History) return u"the history of another table";
        return u"rows without a key, some of whose columns are not compared and would lose their"
               u" values";
    }

    // A script of some of them would leave the sides apart, and not say so.
    void RequireAll(std::size_t index, const DirectTableResult& result,
                    const std::u16string& entry) const {
        const std::uint64_t counted = result.differing + result.onlyIn1 + result.onlyIn2;
        const std::uint64_t given = spool.Count(index);
        if (given == counted) return;
        throw Error(ErrorNumber::InvalidArgument,
                    u"Table " + entry + u" has " + ToText(static_cast<std::int64_t>(counted)) +
                        u" differences, and " + ToText(static_cast<std::int64_t>(given)) +
                        u" were handed over.");
    }

    static std::u16string Count(std::uint64_t rows, std::u16string_view what) {
        return ToText(static_cast<std::int64_t>(rows)) + u" " + std::u16string(what);
    }

    // Only as far as it sees that the table is left out.
    void ReadTarget(Target& target, const DirectTableResult& result, DirectScriptTable& told) {
        CatalogReader reader(connection_);
        reader.UseDatabase(database_.DatabaseName());
        const ObjectName& name = NameOf(target.shape);
        const auto objects = reader.Objects(std::array{name});
        const ObjectFacts* const facts = FindObject(objects, name);
        if (facts == nullptr) ThrowObjectNotFound(name, database_.DatabaseName());
        told.leftOut = WhyLeftOut(target, *facts);
        if (told.LeftOut()) return;
        const auto unique = ReadUniqueIndexFacts(connection_, version_, name);
        target.dropsDuplicates =
            std::any_of(unique.begin(), unique.end(),
                        [](const UniqueIndexFacts& index) { return index.IgnoresDuplicates; });
        WrittenTable& written = target.written;
        written.name = name;
        written.inserts = target.inserts > 0;
        written.deletes = target.deletes > 0;
        for (const std::size_t column : target.shape.key)
            written.key.push_back(FactsOf(target.shape.columns[column]).Name);
        for (std::size_t i = 0; i < target.shape.columns.size(); ++i) {
            DirectColumn& column = target.shape.columns[i];
            ColumnFacts& own = FactsOf(column);
            own.DatabaseCodePage = page_;
            const bool seen = IsSeen(unique, own.Name);
            written.columns.push_back(own.Name);
            written.changed.push_back(target.updates > 0 && result.changedCells[i] > 0);
            if (seen && written.changed.back()) target.unique.push_back(i);
            // without a key a row is found by all of its values only: none can change in between
            const bool found = !target.shape.key.empty();
            written.mayBeNull.push_back(found && own.AllowNulls && !seen && !column.key);
            if (written.changed.back() && own.Identity) {
                throw Error(ErrorNumber::Comparison, u"Table " +
                                                         MakeTableEntry(name.Owner, name.Name) +
                                                         u": identity column " + own.Name +
                                                         u" differs, and cannot be updated.");
            }
        }
    }

    static DirectLeftOut WhyLeftOut(const Target& target, const ObjectFacts& facts) {
        if (facts.IsView) return DirectLeftOut::View;
        if (facts.IsHistory) return DirectLeftOut::History;
        const bool goes = target.shape.key.empty() && target.deletes > 0;
        return goes && HoldsMore(facts, target.shape) ? DirectLeftOut::LosesColumns
                                                      : DirectLeftOut::No;
    }

    // Whether the table has columns that are not compared, and that only a caller can write. What
    // the other side has in their place says nothing: it may be a computed column there.
    static bool HoldsMore(const ObjectFacts& facts, const DirectShape& shape) {
        const auto written = [](const ColumnFacts& column) {
            return !column.Computed && !column.Generated && !column.ColumnSet &&
                   column.DataType != u"timestamp";
        };
        return std::any_of(
            facts.Columns.begin(), facts.Columns.end(), [&](const ColumnFacts& column) {
                return written(column) &&
                       std::any_of(shape.omitted.begin(), shape.omitted.end(),
                                   [&](const DirectOmitted& omitted) {
                                       return EqualIgnoringCase(omitted.name, column.Name);
                                   });
            });
    }

    // Whether a unique index looks at the column: rows may have to swap its values.
    static bool IsSeen(const std::vector<UniqueIndexFacts>& indexes, const std::u16string& column) {
        return std::any_of(indexes.begin(), indexes.end(), [&](const UniqueIndexFacts& index) {
            return !index.Known || std::any_of(index.Columns.begin(), index.Columns.end(),
                                               [&](const std::u16string& name) {
                                                   return EqualIgnoringCase(name, column);
                                               });
        });
    }

    // ---- the script ----------------------------------------------------------------------------

    void WriteAll(const std::function<void(std::u16string_view)>& out) {
        BatchWriter batches(out);
        batches.Begin(Head());
        for (const ForeignKeyFacts& key : order_.suspended)
            batches.Add(AlterKey(key, u" NOCHECK CONSTRAINT "));
        std::vector<StrayRows> strays;
        for (const ForeignKeyFacts& key : order_.suspended) {
            if (key.Trusted) continue;
            strays.emplace_back(key, strays.size() + 1);
            batches.AddAlone(strays.back().Keep());
        }
        ForEach(true, batches,
                [this](std::size_t i, StatementWriter& writer) { EmptyDeferred(i, writer); });
        ForEach(true, batches,
                [this](std::size_t i, StatementWriter& writer) { DeleteRows(i, writer); });
        ForEach(false, batches, [this](std::size_t i, StatementWriter& writer) {
            UpdateRows(i, writer);
            writer.Flush();
            InsertRows(i, writer);
        });
        ForEach(false, batches,
                [this](std::size_t i, StatementWriter& writer) { FillDeferred(i, writer); });
        for (const StrayRows& stray : strays)
            batches.AddAlone(stray.LookForMore());
        for (const ForeignKeyFacts& key : order_.suspended) {
            batches.Add(AlterKey(key, key.Trusted ? u" WITH CHECK CHECK CONSTRAINT "
                                                  : u" WITH NOCHECK CHECK CONSTRAINT "));
        }
        batches.End(identityTables_);
    }

    std::vector<std::u16string> Head() const {
        std::vector<std::u16string> head = {
            u"Makes the rows of side " + ToText(options_.target) + u" those of side " +
                ToText(3 - options_.target) + u", in one transaction.",
            u"Side " + ToText(options_.target) + u" is database " + database_.DatabaseName() +
                u" on server " + database_.Server()};
        if (options_.guard) {
            head.push_back(
                u"Ends, and changes nothing, where a row is not as it was compared, or is not"
                u" inserted.");
        }
        head.insert(head.end(), comments_.begin(), comments_.end());
        for (std::size_t i = 0; i < targets_.size(); ++i) {
            for (const std::size_t column : order_.deferred[i]) {
                const ObjectName& name = targets_[i].written.name;
                head.push_back(u"NULL for the time being: " +
                               MakeTableEntry(name.Owner, name.Name) + u", column " +
                               targets_[i].written.columns[column]);
            }
        }
        for (const ForeignKeyFacts& key : order_.suspended) {
            head.push_back(std::u16string(key.Trusted
                                              ? u"Suspended, and checked again at the end"
                                              : u"Suspended, and looked at for more rows that "
                                                u"refer to nothing, for it was not trusted") +
                           u": foreign key " + key.Name + u" of " +
                           MakeTableEntry(key.Table.Owner, key.Table.Name));
        }
        for (const std::u16string& table : AlteredTables())
            head.push_back(u"Takes the right to alter " + table);
        return head;
    }

    // What SET IDENTITY_INSERT and the suspension of foreign keys ask for, beyond the rights to
    // read and to write rows.
    std::vector<std::u16string> AlteredTables() const {
        std::vector<std::u16string> tables;
        const auto add = [&tables](const ObjectName& name) {
            const std::u16string entry = MakeTableEntry(name.Owner, name.Name);
            if (std::find(tables.begin(), tables.end(), entry) == tables.end())
                tables.push_back(entry);
        };
        for (const Target& target : targets_) {
            const auto& columns = target.shape.columns;
            const bool identity =
                std::any_of(columns.begin(), columns.end(), [this](const DirectColumn& column) {
                    return (options_.target == 1 ? column.side1 : column.side2).Identity;
                });
            if (identity && target.inserts > 0) add(target.written.name);
        }
        for (const ForeignKeyFacts& key : order_.suspended)
            add(key.Table);
        return tables;
    }

    static std::u16string AlterKey(const ForeignKeyFacts& key, std::u16string_view how) {
        return u"ALTER TABLE " + QuoteIdentifier(key.Table.Owner) + u"." +
               QuoteIdentifier(key.Table.Name) + std::u16string(how) + QuoteIdentifier(key.Name);
    }

    template <class Action>
    void ForEach(bool childrenFirst, BatchWriter& batches, const Action& action) {
        std::vector<std::size_t> order = order_.order;
        if (childrenFirst) std::reverse(order.begin(), order.end());
        for (const std::size_t i : order) {
            if (begins_) begins_(targets_[i].table);
            const StatementStyle style{version_ >= FirstVersionWithLists, options_.guard,
                                       targets_[i].dropsDuplicates};
            StatementWriter writer(targets_[i].shape, options_.target, style, batches);
            action(i, writer);
            writer.Flush();
        }
    }

    // The differences with the row of the target, and that of the other side; null where the side
    // has none.
    template <class Action>
    void Visit(std::size_t i, const Action& action) {
        spool.Visit(targets_[i].table, [&](const FoundDifference& found) {
            const DirectRow* const row1 = found.row1 ? &*found.row1 : nullptr;
            const DirectRow* const row2 = found.row2 ? &*found.row2 : nullptr;
            if (options_.target == 1) {
                action(row1, row2, found.changed);
            } else {
                action(row2, row1, found.changed);
            }
        });
    }

    static Positions NotNull(const DirectRow& row, const Positions& columns) {
        Positions held;
        for (const std::size_t column : columns) {
            if (!row[column].IsNull()) held.push_back(column);
        }
        return held;
    }

    void EmptyDeferred(std::size_t i, StatementWriter& writer) {
        const Positions& deferred = order_.deferred[i];
        if (deferred.empty()) return;
        Visit(i, [&](const DirectRow* row, const DirectRow* source,
                     const std::vector<bool>& changed) {
            if (row == nullptr) return;
            const bool goes = source == nullptr;
            if (goes ? !options_.deletes : !options_.updates) return;
            const Positions columns = NotNull(*row, goes ? deferred : Both(changed, deferred));
            if (!columns.empty()) writer.Empty(*row, columns);
        });
    }

    void DeleteRows(std::size_t i, StatementWriter& writer) {
        if (targets_[i].deletes == 0) return;
        Visit(i, [&](const DirectRow* row, const DirectRow* source, const std::vector<bool>&) {
            if (row != nullptr && source == nullptr) writer.Delete(*row, order_.deferred[i]);
        });
    }

    // Of rows that are in both sides.
    template <class Action>
    void VisitUpdates(std::size_t i, const Action& action) {
        Visit(i,
              [&](const DirectRow* row, const DirectRow* source, const std::vector<bool>& changed) {
                  if (row != nullptr && source != nullptr) action(*row, *source, changed);
              });
    }

    // What differs in a row, but for what is filled in later.
    Positions Set(std::size_t i, const std::vector<bool>& changed) const {
        Positions set;
        for (std::size_t column = 0; column < changed.size(); ++column) {
            if (changed[column] && !Contains(order_.deferred[i], column)) set.push_back(column);
        }
        return set;
    }

    bool ChangesUnique(std::size_t i, const std::vector<bool>& changed) const {
        return !Both(changed, targets_[i].unique).empty();
    }

    // All that is set in rows which change a column of a unique index.
    TogetherColumns SetTogether(std::size_t i) {
        std::vector<std::uint64_t> rowsThatChange(targets_[i].shape.columns.size(), 0);
        std::uint64_t rows = 0;
        VisitUpdates(i, [&](const DirectRow&, const DirectRow&, const std::vector<bool>& changed) {
            if (!ChangesUnique(i, changed)) return;
            ++rows;
            for (const std::size_t column : Set(i, changed))
                ++rowsThatChange[column];
        });
        TogetherColumns together;
        for (std::size_t column = 0; column < rowsThatChange.size(); ++column) {
            if (rowsThatChange[column] == 0) continue;
            together.columns.push_back(column);
            together.some.push_back(rowsThatChange[column] < rows);
        }
        return together;
    }

    // Rows that change columns of unique indexes are set by one statement, so that they can swap
    // their values.
    void UpdateRows(std::size_t i, StatementWriter& writer) {
        if (targets_[i].updates == 0) return;
        if (!targets_[i].unique.empty()) {
            const TogetherColumns together = SetTogether(i);
            VisitUpdates(i, [&](const DirectRow& row, const DirectRow& source,
                                const std::vector<bool>& changed) {
                if (ChangesUnique(i, changed)) {
                    writer.UpdateTogether(row, source, together, changed);
                }
            });
            writer.Flush();
        }
        VisitUpdates(i, [&](const DirectRow& row, const DirectRow& source,
                            const std::vector<bool>& changed) {
            if (!ChangesUnique(i, changed)) writer.Update(row, source, Set(i, changed));
        });
    }

    void InsertRows(std::size_t i, StatementWriter& writer) {
        if (targets_[i].inserts == 0) return;
        if (writer.WritesIdentity()) {
            identityTables_.push_back(u"SET IDENTITY_INSERT " + writer.Table() + u" OFF");
        }
        Visit(i, [&](const DirectRow* row, const DirectRow* source, const std::vector<bool>&) {
            if (row == nullptr && source != nullptr) writer.Insert(*source, order_.deferred[i]);
        });
    }

    void FillDeferred(std::size_t i, StatementWriter& writer) {
        const Positions& deferred = order_.deferred[i];
        if (deferred.empty()) return;
        Visit(i,
              [&](const DirectRow* row, const DirectRow* source, const std::vector<bool>& changed) {
                  if (source == nullptr) return;
                  if (row == nullptr ? !options_.inserts : !options_.updates) return;
                  const Positions columns =
                      NotNull(*source, row == nullptr ? deferred : Both(changed, deferred));
                  if (!columns.empty()) writer.Complete(*source, columns);
              });
    }

    const Database& database_;
    DirectScriptOptions options_;
    std::shared_ptr<Connection> connection_;
    std::int32_t version_ = 0;
    std::int32_t page_ = 0;
    std::vector<Target> targets_;
    std::vector<DirectScriptTable> told_;
    std::function<void(std::size_t)> begins_;
    std::vector<std::u16string> comments_;
    std::vector<std::u16string> identityTables_;
    WriteOrder order_;
};

DirectScriptWriter::DirectScriptWriter(const Database& target, const DirectScriptOptions& options)
    : impl_(std::make_unique<Impl>(target, options)) {
    if (options.target != 1 && options.target != 2) {
        throw Error(ErrorNumber::InvalidArgument, u"The side to change is 1 or 2.");
    }
}

DirectScriptWriter::~DirectScriptWriter() = default;

void DirectScriptWriter::Add(const DirectDifference& difference) {
    impl_->spool.Add(difference);
}

std::vector<DirectScriptTable> DirectScriptWriter::Write(
    const std::vector<DirectTableResult>& results,
    const std::function<void(std::u16string_view)>& out,
    const std::function<void(std::size_t)>& begins) {
    return impl_->Write(results, out, begins);
}

}  // namespace QuillonLib
