#include "catalog/ServerBrowser.h"

#include <algorithm>
#include <map>
#include <optional>
#include <system_error>

#include "catalog/UdpSocket.h"
#include "core/Error.h"
#include "core/SystemError.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

constexpr auto NetworkError = static_cast<std::int32_t>(0x80004005);
constexpr std::uint8_t BroadcastRequest = 0x02;  // all instances of every machine that hears it
constexpr std::uint8_t UnicastRequest = 0x03;    // all instances of one machine
constexpr std::uint8_t Answer = 0x05;
constexpr std::u16string_view DefaultInstance = u"MSSQLSERVER";

// Answers carry names in the code page of their machine; those of instances and hosts are ASCII
// in practice, and anything else is taken for UTF-8 or Latin-1.
std::u16string TextOfAnswer(std::string_view text) {
    if (IsUtf8(text)) return FromUtf8(text);
    std::u16string wide;
    wide.reserve(text.size());
    for (const char unit : text)
        wide.push_back(static_cast<unsigned char>(unit));
    return wide;
}

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(separator, at), text.size());
        pieces.push_back(text.substr(at, end - at));
        at = end + separator.size();
    }
    return pieces;
}

std::optional<std::u16string> InstanceName(std::string_view instance) {
    const std::vector<std::string_view> fields = Split(instance, ";");
    std::map<std::u16string, std::u16string> values;
    for (std::size_t i = 0; i + 1 < fields.size(); i += 2) {
        values.emplace(FoldCase(TextOfAnswer(fields[i])), TextOfAnswer(fields[i + 1]));
    }
    const std::u16string host = values[u"servername"];
    const std::u16string name = values[u"instancename"];
    if (host.empty()) return std::nullopt;
    if (name.empty() || EqualIgnoringCase(name, DefaultInstance)) return host;
    return host + u"\\" + name;
}

[[noreturn]] void ThrowCannotAsk(std::error_code cause) {
    throw Error(NetworkError, u"Cannot ask the network for servers: " + TextOf(cause));
}

std::vector<std::string> AskBrowsers(const BrowserSettings& settings) {
    std::error_code failure;
    const UdpSocket socket(failure);
    if (failure) ThrowCannotAsk(failure);
    bool sent = false;
    for (const BrowserAddress& address : settings.addresses) {
        const std::uint8_t request = address.broadcast ? BroadcastRequest : UnicastRequest;
        const std::error_code result = socket.Send(address.host, address.port, request);
        if (!result) {
            sent = true;
        } else if (!failure) {
            failure = result;
        }
    }
    if (failure && !sent) ThrowCannotAsk(failure);

    std::vector<std::string> answers;
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + settings.patience;
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        auto answer = socket.Receive(left);
        if (answer && !answer->empty()) answers.push_back(std::move(*answer));
    }
    // Answers are of use even where a part of the network could not be asked; without any, silence
    // must not pass for a network without servers.
    if (failure && answers.empty()) ThrowCannotAsk(failure);
    return answers;
}

// The text of a datagram: one byte 0x05, the length of the text in two, the text.
std::string_view TextOfDatagram(std::string_view datagram) {
    constexpr std::size_t HeaderSize = 3;
    if (datagram.size() < HeaderSize || static_cast<std::uint8_t>(datagram[0]) != Answer) return {};
    const std::size_t length = static_cast<std::uint8_t>(datagram[1]) |
                               static_cast<std::size_t>(static_cast<std::uint8_t>(datagram[2]))
                                   << 8;
    return datagram.substr(HeaderSize, length);
}

}  // namespace

std::vector<std::u16string> ParseBrowserAnswer(std::string_view text) {
    std::vector<std::u16string> names;
    for (const std::string_view instance : Split(text, ";;")) {
        if (auto name = InstanceName(instance)) names.push_back(std::move(*name));
    }
    return names;
}

std::vector<std::u16string> BrowseServers(const BrowserSettings& settings) {
    std::map<std::u16string, std::u16string> byName;  // folded name, name
    for (const std::string& datagram : AskBrowsers(settings)) {
        for (std::u16string& name : ParseBrowserAnswer(TextOfDatagram(datagram))) {
            byName.emplace(FoldCase(name), name);
        }
    }
    std::vector<std::u16string> names;
    names.reserve(byName.size());
    for (auto& [folded, name] : byName)
        names.push_back(name);
    return names;
}

}  // namespace QuillonLib
