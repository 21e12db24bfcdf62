// The type library is what Contract.h says, no more and no less.
#include "automation/AutomationTypes.h"
// The next header defines its identifiers here.
#include <initguid.h>

#include "QuillonLib_h.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "Contract.h"
#include "TypeInfo.h"

namespace client {

namespace {

using Lines = std::vector<std::string>;

// The lines of a class, or of an interface with its members.
Lines LinesOf(const std::string& first) {
    std::istringstream text(Contract);
    Lines lines;
    bool found = false;
    for (std::string line; std::getline(text, line);) {
        if (!line.starts_with("  ")) found = line == first;
        if (found && line.starts_with("  ")) lines.push_back(line);
    }
    return lines;
}

Lines Headings() {
    std::istringstream text(Contract);
    Lines lines;
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && !line.starts_with("  ")) lines.push_back(line);
    }
    return lines;
}

ComPtr<ITypeInfo> Referred(ITypeInfo* info, UINT index) {
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> referred;
    EXPECT_EQ(info->GetRefTypeOfImplType(index, &reference), S_OK);
    EXPECT_EQ(info->GetRefTypeInfo(reference, referred.Put()), S_OK);
    return referred;
}

std::string KindOf(INVOKEKIND kind) {
    switch (kind) {
        case INVOKE_PROPERTYGET:
            return "get";
        case INVOKE_PROPERTYPUT:
            return "let";
        case INVOKE_PROPERTYPUTREF:
            return "set";
        default:
            return "call";
    }
}

Lines MembersOf(ITypeInfo* info) {
    std::vector<std::pair<SHORT, std::string>> members;
    for (UINT i = 0; i < AttributesOf(info).cFuncs; ++i) {
        FUNCDESC* function = nullptr;
        info->GetFuncDesc(i, &function);
        members.emplace_back(function->oVft, "  " + std::to_string(function->memid) + " " +
                                                 KindOf(function->invkind) + " " +
                                                 NameOf(info, function->memid));
        info->ReleaseFuncDesc(function);
    }
    std::stable_sort(members.begin(), members.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    Lines lines;
    for (const auto& [offset, line] : members)
        lines.push_back(line);
    return lines;
}

Lines InterfacesOf(ITypeInfo* info) {
    Lines lines;
    for (UINT i = 0; i < AttributesOf(info).cImplTypes; ++i) {
        INT flags = 0;
        info->GetImplTypeFlags(i, &flags);
        EXPECT_NE(flags & IMPLTYPEFLAG_FDEFAULT, 0);
        const bool events = (flags & IMPLTYPEFLAG_FSOURCE) != 0;
        lines.push_back((events ? "  events " : "  default ") + NameOf(Referred(info, i).Get()));
    }
    return lines;
}

class Contracted : public ClientTest {
  protected:
    void SetUp() override {
        ClientTest::SetUp();
        ASSERT_EQ(LoadRegTypeLib(LIBID_QuillonLib, 1, 0, LOCALE_NEUTRAL, library_.Put()), S_OK);
    }
    void TearDown() override {
        library_ = nullptr;
        ClientTest::TearDown();
    }
    std::vector<ComPtr<ITypeInfo>> Types() {
        std::vector<ComPtr<ITypeInfo>> types(library_->GetTypeInfoCount());
        for (UINT i = 0; i < types.size(); ++i)
            library_->GetTypeInfo(i, types[i].Put());
        return types;
    }
    // "interface IUtils {...}", or of another kind.
    static std::string HeadingOf(ITypeInfo* info) {
        const TYPEATTR attributes = AttributesOf(info);
        std::string kind = "class ";
        if (attributes.typekind == TKIND_ENUM) kind = "enum ";
        if (attributes.typekind == TKIND_DISPATCH) {
            kind = (attributes.wTypeFlags & TYPEFLAG_FDUAL) != 0 ? "interface " : "events ";
        }
        return kind + NameOf(info) + " " + ToText(attributes.guid);
    }

    ComPtr<ITypeLib> library_;
};

TEST_F(Contracted, TypesAndTheirIdentifiers) {
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library_->GetLibAttr(&attributes), S_OK);
    Lines real = {"library QuillonLib " + ToText(attributes->guid) + " " +
                  std::to_string(attributes->wMajorVerNum) + "." +
                  std::to_string(attributes->wMinorVerNum)};
    library_->ReleaseTLibAttr(attributes);
    for (const auto& type : Types())
        real.push_back(HeadingOf(type.Get()));
    Lines expected = Headings();
    std::sort(real.begin(), real.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(real, expected);
}

TEST_F(Contracted, MembersTheirNumbersAndTheirOrder) {
    for (const auto& type : Types()) {
        const TYPEATTR attributes = AttributesOf(type.Get());
        if (attributes.typekind != TKIND_DISPATCH) continue;
        const std::string heading = HeadingOf(type.Get());
        const bool dual = (attributes.wTypeFlags & TYPEFLAG_FDUAL) != 0;
        // The functions of a dual interface itself, without those of IDispatch.
        const auto described = dual ? Referred(type.Get(), static_cast<UINT>(-1)) : type;
        EXPECT_EQ(MembersOf(described.Get()), LinesOf(heading)) << heading;
    }
}

TEST_F(Contracted, InterfacesOfTheClasses) {
    for (const auto& type : Types()) {
        if (AttributesOf(type.Get()).typekind != TKIND_COCLASS) continue;
        const std::string heading = HeadingOf(type.Get());
        EXPECT_EQ(InterfacesOf(type.Get()), LinesOf(heading)) << heading;
    }
}

}  // namespace

}  // namespace client
