#include "direct/FactsAhead.h"

#include <algorithm>

#include "catalog/CatalogReader.h"
#include "direct/ServerFacts.h"

namespace QuillonLib {

namespace {

constexpr std::size_t TablesAtOnce = 100;

}  // namespace

bool FactsAhead::Knows(std::size_t index) {
    const std::lock_guard lock(mutex_);
    return IsFresh(index);
}

bool FactsAhead::IsFresh(std::size_t index) const {
    return index >= begin_ && index < end_ && Clock::now() - read_ < goodFor_;
}

TableFacts FactsAhead::Of(std::size_t index, CatalogReader& reader,
                          const std::shared_ptr<Connection>& connection, std::int32_t version) {
    const std::lock_guard lock(mutex_);
    if (!IsFresh(index)) Read(index, reader, connection, version);
    const ObjectName& name = tables_[index].name;
    const ObjectFacts* const found = FindObject(objects_, name);
    if (found == nullptr) ThrowObjectNotFound(name, database_);
    return {*found, rows_[static_cast<std::size_t>(found - objects_.data())].value_or(0)};
}

std::optional<std::uint64_t> FactsAhead::Counted(std::size_t index) {
    const std::lock_guard lock(mutex_);
    return counted_[index];
}

void FactsAhead::Read(std::size_t begin, CatalogReader& reader,
                      const std::shared_ptr<Connection>& connection, std::int32_t version) {
    end_ = begin_ = begin;
    const std::size_t end = std::min(begin + TablesAtOnce, tables_.size());
    std::vector<ObjectName> names;
    for (std::size_t i = begin; i < end; ++i)
        names.push_back(tables_[i].name);
    objects_ = reader.Objects(names);
    rows_ = CountedRows(connection, version, objects_);
    for (std::size_t i = begin; i < end; ++i) {
        const ObjectFacts* const found = FindObject(objects_, tables_[i].name);
        if (found == nullptr) continue;
        counted_[i] = rows_[static_cast<std::size_t>(found - objects_.data())];
    }
    read_ = Clock::now();
    end_ = end;
}

}  // namespace QuillonLib
