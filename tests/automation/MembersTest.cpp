// The tables in docs/windows.md name the members that the type library has, no more and no less.
#include "automation/AutomationTypes.h"
// The next header defines its identifiers here.
#include <initguid.h>

#include "QuillonLib_h.h"

#include <fstream>
#include <map>
#include <set>
#include <string>

#include "TypeInfo.h"

namespace client {

namespace {

// "Class", and the rows of its table: "`member(arguments)` | access".
using Rows = std::set<std::string>;
using Tables = std::map<std::string, Rows>;

std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The first two cells of "| a | b | c |".
std::string RowOf(const std::string& line) {
    const auto first = line.find('|', 1);
    const auto second = line.find('|', first + 1);
    return Trimmed(line.substr(1, first - 1)) + " | " +
           Trimmed(line.substr(first + 1, second - first - 1));
}

Tables ReadDocument() {
    std::ifstream file(QUILLON_WINDOWS_DOCUMENT);
    Tables tables;
    std::string heading;
    bool inMembers = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("## ")) inMembers = line == "## Members";
        if (line.starts_with("### ")) heading = line.substr(4);
        if (inMembers && line.starts_with("| `")) tables[heading].insert(RowOf(line));
    }
    return tables;
}

struct Member {
    std::string arguments;
    std::set<std::string> access;
    bool isDefault = false;
};
using MembersByName = std::map<std::string, Member>;

// The name of the function, then those of its parameters; the value of a let may have none.
std::vector<std::string> NamesOf(ITypeInfo* info, const FUNCDESC& function) {
    std::vector<BSTR> names(static_cast<std::size_t>(function.cParams) + 1, nullptr);
    UINT count = 0;
    info->GetNames(function.memid, names.data(), static_cast<UINT>(names.size()), &count);
    std::vector<std::string> result;
    for (BSTR name : names) {
        result.push_back(Narrow(Bstr(name)));
        SysFreeString(name);
    }
    return result;
}

std::string ArgumentText(const ELEMDESC& parameter, const std::string& name) {
    const USHORT flags = parameter.paramdesc.wParamFlags;
    const std::string text = (flags & PARAMFLAG_FOUT) != 0 ? "ByRef " + name : name;
    return (flags & (PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT)) != 0 ? "[" + text + "]" : text;
}

std::string AccessOf(const FUNCDESC& function, const std::string& method) {
    const int last = function.cParams - 1;
    switch (function.invkind) {
        case INVOKE_PROPERTYGET:
            return "get";
        case INVOKE_PROPERTYPUT:
            return (function.lprgelemdescParam[last].paramdesc.wParamFlags & PARAMFLAG_FOUT) != 0
                       ? "let ByRef"
                       : "let";
        case INVOKE_PROPERTYPUTREF:
            return "set";
        default:
            return method;
    }
}

void AddFunction(ITypeInfo* info, const FUNCDESC& function, const std::string& method,
                 MembersByName& members) {
    const auto names = NamesOf(info, function);
    Member& member = members[names[0]];
    member.access.insert(AccessOf(function, method));
    member.isDefault = function.memid == DISPID_VALUE;
    const bool assigns = (function.invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF)) != 0;
    member.arguments.clear();
    for (int i = 0; i < function.cParams - (assigns ? 1 : 0); ++i) {
        member.arguments +=
            (i == 0 ? "" : ", ") +
            ArgumentText(function.lprgelemdescParam[i], names[static_cast<std::size_t>(i) + 1]);
    }
}

Rows RowsOf(const MembersByName& members) {
    Rows rows;
    for (const auto& [name, member] : members) {
        std::string access;
        for (const std::string& one : member.access)
            access += (access.empty() ? "" : ", ") + one;
        const std::string arguments = member.arguments.empty() ? "" : "(" + member.arguments + ")";
        rows.insert("`" + name + arguments + "` | " + access +
                    (member.isDefault ? ", default" : ""));
    }
    return rows;
}

// The functions of an interface but for those of IDispatch.
Rows RowsOfInterface(ITypeInfo* info, const std::string& method) {
    MembersByName members;
    const UINT count = AttributesOf(info).cFuncs;
    for (UINT i = 0; i < count; ++i) {
        FUNCDESC* function = nullptr;
        info->GetFuncDesc(i, &function);
        if (function->memid < 0x60000000) AddFunction(info, *function, method, members);
        info->ReleaseFuncDesc(function);
    }
    return RowsOf(members);
}

Rows RowsOfClass(ITypeInfo* info) {
    Rows rows;
    for (UINT i = 0; i < AttributesOf(info).cImplTypes; ++i) {
        INT flags = 0;
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> implemented;
        info->GetImplTypeFlags(i, &flags);
        info->GetRefTypeOfImplType(i, &reference);
        info->GetRefTypeInfo(reference, implemented.Put());
        const bool events = (flags & IMPLTYPEFLAG_FSOURCE) != 0;
        rows.merge(RowsOfInterface(implemented.Get(), events ? "event" : "method"));
    }
    return rows;
}

Rows RowsOfEnumeration(ITypeInfo* info) {
    Rows rows;
    for (UINT i = 0; i < AttributesOf(info).cVars; ++i) {
        VARDESC* constant = nullptr;
        info->GetVarDesc(i, &constant);
        rows.insert("`" + NameOf(info, constant->memid) + "` | " +
                    std::to_string(constant->lpvarValue->lVal));
        info->ReleaseVarDesc(constant);
    }
    return rows;
}

Tables ReadTypeLibrary() {
    ComPtr<ITypeLib> library;
    EXPECT_EQ(LoadRegTypeLib(LIBID_QuillonLib, 1, 0, LOCALE_NEUTRAL, library.Put()), S_OK);
    Tables tables;
    for (UINT i = 0; library && i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        library->GetTypeInfo(i, info.Put());
        const TYPEKIND kind = AttributesOf(info.Get()).typekind;
        if (kind == TKIND_COCLASS) tables[NameOf(info.Get())] = RowsOfClass(info.Get());
        if (kind == TKIND_ENUM) tables[NameOf(info.Get())] = RowsOfEnumeration(info.Get());
    }
    return tables;
}

class Members : public ClientTest {};

TEST_F(Members, DocumentAndTypeLibraryAgree) {
    const Tables told = ReadDocument();
    const Tables real = ReadTypeLibrary();
    EXPECT_EQ(real.size(), 21u) << "19 classes and 2 enumerations";
    EXPECT_EQ(told.size(), 21u);
    for (const auto& [name, rows] : real) {
        const auto found = told.find(name);
        ASSERT_NE(found, told.end()) << name << " is not told of";
        EXPECT_EQ(found->second, rows) << name;
    }
}

// The object model, as it is told to callers: a name that is gone or changed breaks them.
TEST_F(Members, NamesOfTheEntryClass) {
    const Rows rows = ReadTypeLibrary()["Utils"];
    const Rows expected = {
        "`LastError` | get",
        "`EventSink` | set",
        "`SuppressCompareProcessErrors` | get, let",
        "`CompareContents(obDB1, obDB2, obDB3, ByRef sTables, obIndexCollection, "
        "obColumnCollection)` | method",
        "`CompareContentsEx(obDB1, obDB2, obDB3, ByRef sTables, obIndexes, obColumns)` | method",
        "`GetRecordsets(obDB1, obDB2, obDB3, obTableDifference, ByRef rsEqual, ByRef rsDifferent, "
        "ByRef rsRight, ByRef rsLeft, ByRef sRight, ByRef sLeft, enOptions, lRecords)` | method",
        "`GetUpdateScripts(obDB1, obDB2, obDB3, obTableDifferences, ByRef sLeft, ByRef sRight, "
        "enOptions, lRecords)` | method",
        "`AvailableServers` | get",
        "`AvailableDatabases(sServer, [ByRef sUser], [ByRef sPassword])` | get",
        "`GetSQLStatementsFromScript(sScript)` | method",
        "`EncryptText(sText, sPassword)` | method",
        "`DecryptText(vBytes, sPassword)` | method",
    };
    EXPECT_EQ(rows, expected);
}

}  // namespace

}  // namespace client
