// The wrapper of lists: of template names and picks, which are the store's own, and of a caller's.
#pragma once

#include <memory>

#include "QuillonLib.h"
#include "QuillonLib_h.h"
#include "automation/Give.h"
#include "automation/Identity.h"
#include "automation/ListSource.h"
#include "automation/Object.h"

namespace QuillonLib::Automation {

class ComKeyedList final : public Object<ComKeyedList, ::KeyedList, IKeyedList> {
  public:
    explicit ComKeyedList(std::unique_ptr<ListSource> source);

    // The object of a list of the library; null for null.
    static ComPtr<IKeyedList> Of(std::shared_ptr<NameList> names);
    static ComPtr<IKeyedList> Of(std::shared_ptr<ColumnLists> lists);

    // The texts of a KeyedList, shared with it from then on. Error 13 for another object, and for a
    // list that holds anything but texts.
    static std::shared_ptr<NameList> NamesOf(IUnknown* object);

    static bool GivesOthersValues() { return true; }

    STDMETHODIMP Add(VARIANT vItem, VARIANT vKey) override;
    STDMETHODIMP get_Item(VARIANT vKey, VARIANT* value) override;
    STDMETHODIMP get_NewEnum(IUnknown** value) override;
    STDMETHODIMP Remove(VARIANT vKey) override;
    STDMETHODIMP get_Count(LONG* value) override;
    STDMETHODIMP ItemExists(VARIANT vIndex, VARIANT_BOOL* value) override;

  private:
    friend class Object;
    ~ComKeyedList();

    static Identity::Key KeyOf(const void* list) { return {list, &ClassId(), 0}; }
    void Show(std::unique_ptr<ListSource> source);

    std::unique_ptr<ListSource> source_;
};

}  // namespace QuillonLib::Automation
