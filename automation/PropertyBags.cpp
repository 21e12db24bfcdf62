#include "automation/PropertyBags.h"

#include <array>

#include "automation/Catalog.h"
#include "automation/LateBound.h"

namespace QuillonLib::Automation {

namespace {

constexpr std::u16string_view Flag = u"NTSecurity";
constexpr std::u16string_view CatalogName = u"Tables";
constexpr std::array<std::u16string_view, 4> Texts = {u"Username", u"Database", u"Server",
                                                      u"Description"};

class SystemBag final : public Settings {
  public:
    explicit SystemBag(ComPtr<IPropertyBag> bag) : bag_(std::move(bag)) {}
    // E_INVALIDARG: the bag has nothing of that name.
    Variant Read(std::u16string_view name) override {
        Variant value;
        bool absent = false;
        CallOther([&] {
            const HRESULT result = bag_->Read(Name(name), value.Put(), nullptr);
            absent = result == E_INVALIDARG;
            return absent ? S_FALSE : result;
        });
        return absent ? Variant() : value;
    }
    void Write(std::u16string_view name, const Variant& value) override {
        Variant copy = value;
        CallOther([&] { return bag_->Write(Name(name), copy.InPlace()); });
    }

  private:
    static LPCOLESTR Name(std::u16string_view name) {
        return reinterpret_cast<LPCOLESTR>(name.data());  // a constant, NUL behind it
    }
    ComPtr<IPropertyBag> bag_;
};

class ScriptBag final : public Settings {
  public:
    explicit ScriptBag(LateBound bag) : bag_(std::move(bag)) {}
    Variant Read(std::u16string_view name) override {
        return bag_.Call(L"ReadProperty", {NewText(name), Variant()});
    }
    void Write(std::u16string_view name, const Variant& value) override {
        bag_.Call(L"WriteProperty", {NewText(name), value});
    }

  private:
    LateBound bag_;
};

void RefuseNull(const Variant& value) {
    if (value.Type() == VT_NULL) {
        throw Error(ErrorNumber::InvalidUseOfNull, u"Invalid use of Null");
    }
}

// Null is Nothing in languages without one of their own.
std::shared_ptr<TableObjects> CatalogIn(const Variant& value) {
    if (value.Type() == VT_EMPTY || value.Type() == VT_NULL) return nullptr;
    return ComTableObjects::CoreOf(ObjectIn(value.Get()).Get());
}

}  // namespace

std::unique_ptr<Settings> SettingsIn(IUnknown* bag) {
    if (bag == nullptr) {
        throw Error(ErrorNumber::ObjectNotSet, u"Object variable not set");
    }
    const ComPtr<IUnknown> object(bag);
    if (auto system = object.As<IPropertyBag>()) {
        return std::make_unique<SystemBag>(std::move(system));
    }
    LateBound late(object);
    if (!late.Has(L"ReadProperty") || !late.Has(L"WriteProperty")) ThrowTypeMismatch();
    return std::make_unique<ScriptBag>(std::move(late));
}

PropertyBag ReadBag(Settings& settings) {
    PropertyBag bag;
    const Variant flag = settings.Read(Flag);
    RefuseNull(flag);
    if (flag.Type() != VT_EMPTY) bag.Write(Flag, FlagIn(flag.Get()));
    for (const auto name : Texts) {
        const Variant text = settings.Read(name);
        RefuseNull(text);
        if (text.Type() != VT_EMPTY) bag.Write(name, TextIn(text.Get()));
    }
    bag.Write(CatalogName, CatalogIn(settings.Read(CatalogName)));
    return bag;
}

void WriteBag(const PropertyBag& bag, Settings& settings) {
    settings.Write(Flag, NewFlag(bag.ReadBool(Flag)));
    for (const auto name : Texts)
        settings.Write(name, NewText(bag.ReadText(name)));
    const auto tables = ComTableObjects::Of(bag.ReadObject<TableObjects>(CatalogName));
    settings.Write(CatalogName, Variant::Object(tables.Get()));
}

}  // namespace QuillonLib::Automation
