#include "automation/ComKeyedList.h"

#include <utility>

#include "automation/Enumerator.h"

namespace QuillonLib::Automation {

namespace {

ComPtr<IKeyedList> Known(const Identity::Key& key) {
    return ComPtr<IKeyedList>(static_cast<IKeyedList*>(Identity::Find(key).Get()));
}

}  // namespace

ComKeyedList::ComKeyedList(std::unique_ptr<ListSource> source) {
    Show(std::move(source));
}

ComKeyedList::~ComKeyedList() {
    Identity::Forget(KeyOf(source_->Identity()));
}

void ComKeyedList::Show(std::unique_ptr<ListSource> source) {
    if (source_ != nullptr) Identity::Forget(KeyOf(source_->Identity()));
    source_ = std::move(source);
    Identity::Register(KeyOf(source_->Identity()), static_cast<IKeyedList*>(this));
}

ComPtr<IKeyedList> ComKeyedList::Of(std::shared_ptr<NameList> names) {
    if (names == nullptr) return nullptr;
    if (auto known = Known(KeyOf(names.get()))) return known;
    return ComPtr<IKeyedList>(new ComKeyedList(ShowNames(std::move(names))));
}

ComPtr<IKeyedList> ComKeyedList::Of(std::shared_ptr<ColumnLists> lists) {
    if (lists == nullptr) return nullptr;
    if (auto known = Known(KeyOf(lists.get()))) return known;
    return ComPtr<IKeyedList>(new ComKeyedList(ShowColumnLists(std::move(lists))));
}

std::shared_ptr<NameList> ComKeyedList::NamesOf(IUnknown* object) {
    void* found = nullptr;
    if (object == nullptr || FAILED(object->QueryInterface(ClassId(), &found))) {
        ThrowTypeMismatch();
    }
    const auto list = ComPtr<ComKeyedList>::Attach(static_cast<ComKeyedList*>(found));
    auto names = list->source_->Names();
    if (names == nullptr) ThrowTypeMismatch();
    if (names.get() != list->source_->Identity()) list->Show(ShowNames(names));
    return names;
}

// A key may be an object of a caller's, whose answer comes from code that sees this list: keys are
// read first.
STDMETHODIMP ComKeyedList::Add(VARIANT vItem, VARIANT vKey) {
    return Do([&] {
        const auto key = ToNewKey(vKey);
        source_->Add(vItem, key);
    });
}

STDMETHODIMP ComKeyedList::get_Item(VARIANT vKey, VARIANT* value) {
    return Answer(value, [&] {
        const ItemKey key = ToItemKey(vKey);
        return source_->Item(key);
    });
}

STDMETHODIMP ComKeyedList::get_NewEnum(IUnknown** value) {
    return Answer(value, [&] {
        auto values = source_->Values();
        const std::size_t count = values.size();
        return NewEnumerator(
            count, [values = std::move(values)](std::size_t index) { return values[index]; });
    });
}

STDMETHODIMP ComKeyedList::Remove(VARIANT vKey) {
    return Do([&] {
        const ItemKey key = ToItemKey(vKey);
        source_->Remove(key);
    });
}

STDMETHODIMP ComKeyedList::get_Count(LONG* value) {
    return Answer(value, [&] { return source_->Count(); });
}

STDMETHODIMP ComKeyedList::ItemExists(VARIANT vIndex, VARIANT_BOOL* value) {
    return Answer(value, [&] {
        bool exists = false;
        Succeeds([&] {
            const ItemKey key = ToItemKey(vIndex);
            exists = source_->ItemExists(key);
        });
        return exists;
    });
}

}  // namespace QuillonLib::Automation
