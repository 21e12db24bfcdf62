// The XML document behind the templates, and handles to its elements. Not installed.
#pragma once

#include <functional>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace QuillonLib {

class FileOperations;
class TemplateElement;

// One loaded file. Elements keep their document alive, so that an element of a file that was open
// before stays usable, and an element that is removed stays usable until its document goes.
class TemplateDocument : public std::enable_shared_from_this<TemplateDocument> {
  public:
    // False, and an empty document, when there is no such file, it cannot be read, or it is not XML
    // that could be written back as it was (see WellFormed.h).
    bool Load(std::u16string_view path);
    // Error 75, for a path that no file can have too.
    void Save(std::u16string_view path, FileOperations& files) const;

    // Absent in an empty document.
    TemplateElement Root();
    TemplateElement CreateRoot(std::u16string_view name);

  private:
    friend class TemplateElement;
    bool Parse(const std::string& utf8);
    // Takes an element out of the tree without ending its life.
    void Detach(pugi::xml_node node);

    pugi::xml_document document_;
    pugi::xml_node detached_;  // holds what was taken out; beside the root, and never saved
};

// An element, or none: every operation on none is error 91.
class TemplateElement {
  public:
    TemplateElement() = default;

    explicit operator bool() const { return !node_.empty(); }

    // Error 94 when the element has no such attribute.
    std::u16string Attribute(const char* name) const;
    // Error 0x80004005 for text that XML cannot hold.
    void SetAttribute(const char* name, std::u16string_view value);

    // The first child of that name, or none.
    TemplateElement Child(const char* name) const;
    // The first child element, whatever its name, or none.
    TemplateElement FirstChild() const;
    // The first match of a path expression, or none; error 0x80004005 when it is not valid.
    TemplateElement Select(std::u16string_view path) const;
    TemplateElement AppendChild(const char* name);
    // A child with one attribute, or none at all where that fails.
    TemplateElement AppendChild(const char* name, const char* attribute, std::u16string_view value);
    void RemoveChild(const TemplateElement& child);
    void RemoveChildren();

    // All child elements; those of one name; all descendants of one name: in document order.
    void ForEachChild(const std::function<void(const TemplateElement&)>& visit) const;
    void ForEachChild(const char* name,
                      const std::function<void(const TemplateElement&)>& visit) const;
    void ForEachDescendant(const char* name,
                           const std::function<void(const TemplateElement&)>& visit) const;

  private:
    friend class TemplateDocument;
    TemplateElement(std::shared_ptr<TemplateDocument> document, pugi::xml_node node)
        : document_(std::move(document)), node_(node) {}
    pugi::xml_node Node() const;  // error 91 when there is none

    std::shared_ptr<TemplateDocument> document_;
    pugi::xml_node node_;
};

}  // namespace QuillonLib
