// Reads descriptions of types.
#pragma once

#include "Client.h"

#include <string>

namespace client {

inline std::string Narrow(const Bstr& text) {
    std::string narrow;
    for (const wchar_t c : text.Text())
        narrow += static_cast<char>(c);
    return narrow;
}

inline std::string NameOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
    Bstr name;
    info->GetDocumentation(member, name.Put(), nullptr, nullptr, nullptr);
    return Narrow(name);
}

inline std::string ToText(const GUID& id) {
    wchar_t text[64];
    StringFromGUID2(id, text, 64);
    return Narrow(Bstr(text));
}

inline TYPEATTR AttributesOf(ITypeInfo* info) {
    TYPEATTR* attributes = nullptr;
    info->GetTypeAttr(&attributes);
    const TYPEATTR copy = *attributes;
    info->ReleaseTypeAttr(attributes);
    return copy;
}

}  // namespace client
