#include "templates/TemplateDocument.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "core/Error.h"
#include "core/Text.h"
#include "core/WholeFile.h"
#include "templates/LoadFailure.h"
#include "templates/WellFormed.h"
#include "templates/XmlText.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t XmlError = static_cast<std::int32_t>(0x80004005);

// pugixml reports a failed allocation by an empty handle or false.
template <typename Result>
Result Allocated(Result result) {
    if (!result) throw std::bad_alloc();
    return result;
}

// None for a text that cannot be a path: one with half a surrogate pair, where paths are UTF-8.
std::optional<std::filesystem::path> FilePath(std::u16string_view path) {
    try {
        return std::filesystem::path(std::u16string(path));
    } catch (const std::filesystem::filesystem_error&) {
        return std::nullopt;
    }
}

// The bytes of a file, or why they cannot be had.
XmlText ReadBytes(const std::filesystem::path& file) {
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(file, failure);
    if (status.type() == std::filesystem::file_type::none) return {{}, failure.message()};
    if (!std::filesystem::exists(status)) return {{}, "there is no such file"};
    if (std::filesystem::is_directory(status)) return {{}, "it is a folder"};
    if (!std::filesystem::is_regular_file(status)) return {{}, "it is no regular file"};
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::string content;
    while (stream.good()) {
        constexpr std::size_t Piece = std::size_t{64} << 10;
        const std::size_t size = content.size();
        content.resize(size + Piece);
        stream.read(content.data() + size, Piece);
        content.resize(size + static_cast<std::size_t>(stream.gcount()));
    }
    // Read to the end, and not up to an error.
    if (!stream.eof() || stream.bad()) return {{}, std::generic_category().message(errno)};
    return {std::move(content), {}};
}

// The text of a template file, if it is one.
XmlText ReadTemplateText(std::u16string_view path) {
    const std::optional<std::filesystem::path> file = FilePath(path);
    if (!file) return {{}, "it has no valid name"};
    XmlText bytes = ReadBytes(*file);
    if (!bytes.text) return bytes;
    XmlText decoded = DecodeXml(std::move(*bytes.text));
    if (!decoded.text) return decoded;
    std::string objection = WhyNotXml(*decoded.text);
    if (!objection.empty()) return {{}, std::move(objection)};
    return decoded;
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

bool CanStandInXml(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), IsXmlCharacter) && IsUtf16(text);
}

}  // namespace

bool TemplateDocument::Load(std::u16string_view path) {
    const XmlText content = ReadTemplateText(path);
    if (content.text && Parse(*content.text)) return true;
    document_.reset();
    return false;
}

bool TemplateDocument::Parse(const std::string& utf8) {
    // Comments and instructions that somebody put into the file stay in it.
    constexpr unsigned KeepEverything = pugi::parse_full;
    const pugi::xml_parse_result result =
        document_.load_buffer(utf8.data(), utf8.size(), KeepEverything, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!result) return false;

    // Whatever it came in, the file is saved in UTF-8.
    for (pugi::xml_node node : document_.children()) {
        pugi::xml_attribute encoding = node.attribute("encoding");
        if (node.type() == pugi::node_declaration && encoding)
            Allocated(encoding.set_value("utf-8"));
    }
    return true;
}

std::string WhyNotLoaded(std::u16string_view path) {
    XmlText content = ReadTemplateText(path);
    if (!content.text) return std::move(content.failure);
    return TemplateDocument().Load(path) ? std::string() : "it cannot be read";
}

void TemplateDocument::Save(std::u16string_view path, FileOperations& files) const {
    TextWriter writer;
    for (const pugi::xml_node& node : document_.children()) {
        if (node == detached_) continue;
        node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
    }
    const std::optional<std::filesystem::path> file = FilePath(path);
    if (!file) {
        throw Error(ErrorNumber::FileAccess,
                    u"Cannot write the file '" + std::u16string(path) + u"': it has no valid name");
    }
    WriteWholeFile(*file, writer.text, files);
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

TemplateElement TemplateElement::FirstChild() const {
    for (const pugi::xml_node& child : Node().children()) {
        if (child.type() == pugi::node_element) return {document_, child};
    }
    return {};
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

TemplateElement TemplateElement::AppendChild(const char* name, const char* attribute,
                                             std::u16string_view value) {
    TemplateElement child = AppendChild(name);
    try {
        child.SetAttribute(attribute, value);
    } catch (...) {
        Node().remove_child(child.node_);
        throw;
    }
    return child;
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

void TemplateElement::ForEachChild(const std::function<void(const TemplateElement&)>& visit) const {
    for (const pugi::xml_node& child : Node().children()) {
        if (child.type() == pugi::node_element) visit({document_, child});
    }
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
