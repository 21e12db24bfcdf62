#include "direct/DirectScript.h"

#include <algorithm>
#include <utility>

#include "catalog/Database.h"
#include "catalog/Identifiers.h"
#include "catalog/Login.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "direct/BatchWriter.h"
#include "direct/DifferenceSpool.h"
#include "direct/ScriptTargets.h"
#include "direct/StatementText.h"
#include "direct/StatementWriter.h"
#include "direct/StrayRows.h"
#include "direct/WriteOrder.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t FirstVersionWithLists = 10;  // of rows behind VALUES

using Positions = std::vector<std::size_t>;

Positions Both(const std::vector<bool>& changed, const Positions& among) {
    Positions both;
    for (const std::size_t column : among) {
        if (changed[column]) both.push_back(column);
    }
    return both;
}

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
        identityTables_.clear();
        const auto connection = OpenConnection(database_);
        ScriptTargets targets(database_, options_, connection);
        for (std::size_t i = 0; i < results.size(); ++i)
            targets.Take(i, results[i], spool.Count(i));
        targets_ = std::move(targets.targets);
        comments_ = std::move(targets.comments);
        version_ = targets.Version();
        std::vector<WrittenTable> written;
        for (const ScriptTarget& target : targets_)
            written.push_back(target.written);
        order_ = OrderWrites(written, ReadForeignKeyFacts(connection));
        connection->Close();
        WriteAll(out);
        return std::move(targets.told);
    }

  private:
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
        head.insert(head.end(), options_.remarks.begin(), options_.remarks.end());
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
        for (const ScriptTarget& target : targets_) {
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
    std::int32_t version_ = 0;
    std::vector<ScriptTarget> targets_;
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
