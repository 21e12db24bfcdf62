// The lists that a KeyedList object can show.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "automation/ItemKey.h"
#include "automation/Variant.h"
#include "templates/ComparisonTemplates.h"

namespace QuillonLib::Automation {

class ListSource {
  public:
    virtual ~ListSource() = default;
    // What tells the list from every other one.
    virtual const void* Identity() const = 0;
    virtual std::int32_t Count() const = 0;
    virtual Variant Item(const ItemKey& key) const = 0;
    virtual bool ItemExists(const ItemKey& key) const = 0;
    // Error 13 for a value that the list does not hold.
    virtual void Add(const VARIANT& value, const std::optional<std::u16string>& key) = 0;
    virtual void Remove(const ItemKey& key) = 0;
    virtual std::vector<Variant> Values() const = 0;
    // The list as one of texts that is shared with whoever else holds it; null where it is none.
    virtual std::shared_ptr<NameList> Names() const { return nullptr; }
};

// A list of texts of a template store, shared with it.
std::unique_ptr<ListSource> ShowNames(std::shared_ptr<NameList> names);
// The column lists of a template store, shared with it: each value is a KeyedList of texts.
std::unique_ptr<ListSource> ShowColumnLists(std::shared_ptr<ColumnLists> lists);
// A caller's own list of any values. Its Names are a copy.
std::unique_ptr<ListSource> NewList();

}  // namespace QuillonLib::Automation
