// The other tables and views that one table depends on, or that depend on it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/Export.h"
#include "core/KeyedList.h"

namespace QuillonLib {

class QUILLON_API Dependency {
  public:
    // The other object, as a table entry: "[owner].[name]".
    const std::u16string& Name() const { return name_; }

  private:
    friend class Dependencies;
    std::u16string name_;
};

// Each name once, in the order in which the server told of them. Unlike in other collections, a
// look-up by Item() is by name only; positions go through AbsoluteItem().
class QUILLON_API Dependencies {
  public:
    // Error 5 when there is none of that name.
    std::shared_ptr<Dependency> Item(std::u16string_view sName) const { return list_.Item(sName); }
    // By position, from 1; error 5 beyond the ends.
    std::shared_ptr<Dependency> AbsoluteItem(std::int32_t lIndex) const {
        return list_.Item(std::int64_t{lIndex});
    }
    bool ItemExists(std::u16string_view sName) const { return list_.ItemExists(sName); }
    std::int32_t Count() const { return list_.Count(); }
    auto begin() const { return list_.begin(); }
    auto end() const { return list_.end(); }

  private:
    friend struct CatalogBuilder;
    std::shared_ptr<Dependency> AddDependency(std::u16string_view sName);

    KeyedList<std::shared_ptr<Dependency>> list_;
};

}  // namespace QuillonLib
