#include "data/ConnectionString.h"

#include "core/Text.h"

namespace QuillonLib {

namespace {

// One "keyword=value" of a connection string, as positions in it.
struct Item {
    std::u16string_view keyword;
    std::u16string_view value;
    std::size_t end = 0;  // past the value
};

// The item that begins at `start`, as the driver reads it: a value in braces ends at "};" or at
// the end of the text, any other at the next ";".
Item ReadItem(std::u16string_view text, std::size_t start) {
    const std::size_t equals = text.find(u'=', start);
    if (equals == std::u16string_view::npos) return {{}, {}, text.size()};
    const std::size_t begin = equals + 1;
    std::size_t end =
        text.substr(begin).starts_with(u'{') ? text.find(u"};", begin) : text.find(u';', begin);
    if (end == std::u16string_view::npos) {
        end = text.size();
    } else if (text[end] == u'}') {
        ++end;
    }
    return {text.substr(start, equals - start), text.substr(begin, end - begin), end};
}

bool NamesItsPort(std::u16string_view server) {
    return server.find_first_of(u",\\") != std::u16string_view::npos;
}

}  // namespace

std::u16string BuildConnectionString(std::u16string_view server, std::u16string_view database,
                                     bool ntSecurity, std::u16string_view user,
                                     std::u16string_view password, std::u16string_view driver) {
    std::u16string text = u"driver={";
    text += driver;
    text += u"};server=";
    text += server;
    text += u";database=";
    text += database;
    if (ntSecurity) return text;
    text += u";uid=";
    text += user;
    text += u";pwd=";
    text += password;
    return text;
}

std::u16string DriverOf(std::u16string_view connectionString) {
    for (std::size_t start = 0; start < connectionString.size();) {
        const Item item = ReadItem(connectionString, start);
        if (EqualIgnoringCase(item.keyword, u"driver")) {
            std::u16string_view name = item.value;
            if (name.starts_with(u'{')) name.remove_prefix(1);
            if (name.ends_with(u'}')) name.remove_suffix(1);
            return std::u16string(name);
        }
        start = item.end + 1;
    }
    return {};
}

bool IsFileOfFreeTds(std::u16string_view driver) {
    const std::size_t folder = driver.rfind(u'/');
    return FoldCase(driver.substr(folder + 1)).find(u"tdsodbc") != std::u16string::npos;
}

// Two quirks of FreeTDS:
//  - a server named without port or instance gets no port at all, unless one is configured: the
//    connection fails before a packet is sent. It gets the server's standard port here; TDSPORT in
//    the environment still goes before it.
//  - a value in braces at the very end keeps its closing brace; a ";" after it mends that.
std::u16string AdaptConnectionString(std::u16string_view connectionString) {
    std::u16string adapted(connectionString);
    if (adapted.ends_with(u'}')) adapted += u';';

    std::size_t portBelongsAt = std::u16string::npos;
    for (std::size_t start = 0; start < connectionString.size();) {
        const Item item = ReadItem(connectionString, start);
        if (EqualIgnoringCase(item.keyword, u"port")) return adapted;
        if (EqualIgnoringCase(item.keyword, u"server")) {
            if (NamesItsPort(item.value)) return adapted;
            portBelongsAt = item.end;
        }
        start = item.end + 1;
    }
    if (portBelongsAt != std::u16string::npos) adapted.insert(portBelongsAt, u";port=1433");
    return adapted;
}

}  // namespace QuillonLib
