#include "templates/TemplateDocument.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <system_error>

#include "core/Error.h"
#include "core/Text.h"
#include "core/WholeFile.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t XmlError = static_cast<std::int32_t>(0x80004005);

// pugixml reports a failed allocation by an empty handle or false.
template <typename Result>
Result Allocated(Result result) {
    if (!result) throw std::bad_alloc();
    return result;
}

std::filesystem::path FilePath(std::u16string_view path) {
    return std::filesystem::path(std::u16string(path));
}

class TextWriter final : public pugi::xml_writer {
  public:
    void write(const void* data, std::size_t size) override {
        text.append(static_cast<const char*>(data), size);
    }
    std::string text;
};

bool IsXmlCharacter(char16_t unit) {
    if (unit < 0x20) return unit == u'\t' || unit == u'\n' || unit == u'\r';
    return unit != 0xFFFE && unit != 0xFFFF;
}

// A text that comes back changed from UTF-8 holds a lone surrogate.
bool CanStandInXml(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), IsXmlCharacter) && FromUtf8(ToUtf8(text)) == text;
}

std::size_t ElementCount(const pugi::xml_document& document) {
    return static_cast<std::size_t>(std::count_if(
        document.begin(), document.end(),
        [](const pugi::xml_node& node) { return node.type() == pugi::node_element; }));
}

}  // namespace

bool TemplateDocument::Load(std::u16string_view path) {
    const std::filesystem::path file = FilePath(path);
    std::error_code unreadable;
    if (!std::filesystem::is_regular_file(file, unreadable)) return false;
    std::ifstream stream(file, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (stream.bad() || !stream.is_open() || !Parse(content)) {
        document_.reset();
        return false;
    }
    return true;
}

bool TemplateDocument::Parse(const std::string& content) {
    // Comments and instructions that somebody put into the file stay in it.
    constexpr unsigned KeepEverything = pugi::parse_full;
    const pugi::xml_parse_result result =
        document_.load_buffer(content.data(), content.size(), KeepEverything);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!result || ElementCount(document_) != 1) return false;
    if (result.encoding == pugi::encoding_utf8 && !IsUtf8(content)) return false;

    // Whatever it came in, the file is saved in UTF-8.
    for (pugi::xml_node node : document_.children()) {
        pugi::xml_attribute encoding = node.attribute("encoding");
        if (node.type() == pugi::node_declaration && encoding)
            Allocated(encoding.set_value("utf-8"));
    }
    return true;
}

void TemplateDocument::Save(std::u16string_view path, FileOperations& files) const {
    TextWriter writer;
    for (const pugi::xml_node& node : document_.children()) {
        if (node == detached_) continue;
        node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
    }
    WriteWholeFile(FilePath(path), writer.text, files);
}

TemplateElement TemplateDocument::Root() {
    for (const pugi::xml_node& node : document_.children()) {
        if (node.type() == pugi::node_element && node != detached_) {
            return {shared_from_this(), node};
        }
    }
    return {};
}

TemplateElement TemplateDocument::CreateRoot(std::u16string_view name) {
    const pugi::xml_node root = Allocated(document_.append_child(ToUtf8(name).c_str()));
    return {shared_from_this(), root};
}

void TemplateDocument::Detach(pugi::xml_node node) {
    if (!detached_) detached_ = Allocated(document_.append_child("detached"));
    detached_.append_move(node);
}

pugi::xml_node TemplateElement::Node() const {
    if (!node_) {
        throw Error(ErrorNumber::ObjectNotSet, u"Object variable or With block variable not set");
    }
    return node_;
}

std::u16string TemplateElement::Attribute(const char* name) const {
    const pugi::xml_attribute attribute = Node().attribute(name);
    if (!attribute) throw Error(ErrorNumber::InvalidUseOfNull, u"Invalid use of Null");
    return FromUtf8(attribute.value());
}

void TemplateElement::SetAttribute(const char* name, std::u16string_view value) {
    pugi::xml_node node = Node();
    if (!CanStandInXml(value)) {
        throw Error(XmlError, u"The name '" + std::u16string(value) +
                                  u"' holds a character that cannot stand in an XML file");
    }
    pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) attribute = Allocated(node.append_attribute(name));
    Allocated(attribute.set_value(ToUtf8(value).c_str()));
}

TemplateElement TemplateElement::Child(const char* name) const {
    return {document_, Node().child(name)};
}

TemplateElement TemplateElement::Select(std::u16string_view path) const {
    const pugi::xml_node node = Node();
    try {
        return {document_, node.select_node(ToUtf8(path).c_str()).node()};
    } catch (const pugi::xpath_exception& failure) {
        throw Error(XmlError, std::u16string(path).append(u": ").append(FromUtf8(failure.what())));
    }
}

TemplateElement TemplateElement::AppendChild(const char* name) {
    return {document_, Allocated(Node().append_child(name))};
}

void TemplateElement::RemoveChild(const TemplateElement& child) {
    // A path expression can be written so that it finds something else, the root itself even.
    if (child.Node().parent() != Node()) {
        throw Error(XmlError, u"The element to remove is not a child of the other");
    }
    document_->Detach(child.Node());
}

void TemplateElement::RemoveChildren() {
    Node().remove_children();
}

void TemplateElement::ForEachChild(const char* name,
                                   const std::function<void(const TemplateElement&)>& visit) const {
    for (pugi::xml_node child = Node().child(name); child; child = child.next_sibling(name)) {
        visit({document_, child});
    }
}

void TemplateElement::ForEachDescendant(
    const char* name, const std::function<void(const TemplateElement&)>& visit) const {
    struct Walker final : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node& node) override {
            const bool wanted =
                node.type() == pugi::node_element && std::string_view(node.name()) == name;
            if (wanted) visit(node);
            return true;
        }
        std::string_view name;
        std::function<void(const pugi::xml_node&)> visit;
    };
    Walker walker;
    walker.name = name;
    walker.visit = [&](const pugi::xml_node& node) { visit(TemplateElement(document_, node)); };
    Node().traverse(walker);
}

}  // namespace QuillonLib
