#include "templates/WellFormed.h"

#include <new>

#include "templates/ExpatParser.h"

namespace QuillonLib {

namespace {

// Expat counts in int.
constexpr std::size_t LongestPiece = std::size_t{1} << 24;

// What the handlers see of one text.
struct Checked {
    XML_Parser parser = nullptr;
    int depth = 0;
    std::string objection;

    void Object(const std::string& text) {
        objection = text;
        XML_StopParser(parser, XML_FALSE);
    }
};

Checked& Of(void* data) {
    return *static_cast<Checked*>(data);
}

void OnStart(void* data, const XML_Char*, const XML_Char**) {
    Checked& checked = Of(data);
    if (++checked.depth > DeepestNesting) {
        checked.Object("its elements are nested more than " + std::to_string(DeepestNesting) +
                       " deep");
    }
}

void OnEnd(void* data, const XML_Char*) {
    --Of(data).depth;
}

// The tree keeps a reference to an entity as text, and would write it as such.
constexpr const char* HasEntities = "it has entities of its own, which are not supported";

void OnDoctype(void* data, const XML_Char*, const XML_Char* systemId, const XML_Char*, int) {
    if (systemId != nullptr) Of(data).Object(HasEntities);  // and they are in that other file
}

void OnEntity(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
              const XML_Char*, const XML_Char*, const XML_Char*) {
    Of(data).Object(HasEntities);
}

std::string Complaint(const Checked& checked) {
    if (!checked.objection.empty()) return checked.objection;
    return "it is not well-formed XML: line " +
           std::to_string(XML_GetCurrentLineNumber(checked.parser)) + ", " +
           XML_ErrorString(XML_GetErrorCode(checked.parser));
}

}  // namespace

std::string WhyNotXml(std::string_view utf8) {
    const ExpatParser parser(XML_ParserCreate("UTF-8"));
    if (parser == nullptr) throw std::bad_alloc();
    Checked checked;
    checked.parser = parser.get();
    XML_SetUserData(parser.get(), &checked);
    XML_SetElementHandler(parser.get(), OnStart, OnEnd);
    XML_SetStartDoctypeDeclHandler(parser.get(), OnDoctype);
    XML_SetEntityDeclHandler(parser.get(), OnEntity);
    bool more = true;
    while (more) {
        const std::string_view piece = utf8.substr(0, LongestPiece);
        utf8.remove_prefix(piece.size());
        more = !utf8.empty();
        const XML_Status status =
            XML_Parse(parser.get(), piece.data(), static_cast<int>(piece.size()), more ? 0 : 1);
        if (status != XML_STATUS_OK) {
            if (XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
            return Complaint(checked);
        }
    }
    return {};
}

}  // namespace QuillonLib
