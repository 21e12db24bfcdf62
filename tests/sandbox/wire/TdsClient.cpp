#include "TdsClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace sandbox::wire {

namespace {

template <typename T>
std::string Little(T value) {
    std::string bytes(sizeof value, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(value & 0xFF);
        value = static_cast<T>(static_cast<std::uint64_t>(value) >> 8);
    }
    return bytes;
}

// Walks through the tokens of one response.
class Parser {
  public:
    Parser(std::string_view data, std::uint32_t version, ClientResponse& response)
        : data_(data), wide_(version >= 0x72000000), response_(response) {}

    void Run() {
        while (at_ < data_.size())
            Token(static_cast<std::uint8_t>(Number(1)));
    }

  private:
    std::string_view Take(std::size_t size) {
        if (size > data_.size() - at_) throw std::runtime_error("a token runs past its message");
        at_ += size;
        return data_.substr(at_ - size, size);
    }

    std::uint64_t Number(std::size_t size) {
        std::uint64_t number = 0;
        const std::string_view bytes = Take(size);
        for (std::size_t n = size; n > 0; --n) {
            number = number << 8 | static_cast<std::uint8_t>(bytes[n - 1]);
        }
        return number;
    }

    std::u16string Text(std::size_t units) {
        std::u16string text;
        for (std::size_t n = 0; n < units; ++n)
            text += static_cast<char16_t>(Number(2));
        return text;
    }

    void Token(std::uint8_t token) {
        switch (token) {
            case 0x81:
                return Columns();
            case 0xD1:
                return Row();
            case 0xAA:
            case 0xAB:
                return Message(token == 0xAA);
            case 0xE3:
                return Change();
            case 0xAD:
                return Acknowledgement();
            case 0xED:
                response_.sspi = Hex(Take(Number(2)));
                return;
            case 0x79:
                response_.returnStatus = static_cast<std::int32_t>(Number(4));
                return;
            case 0xAC:
                return ReturnValue();
            case 0xFD:
            case 0xFE:
            case 0xFF:
                return Done(token);
            default:
                throw std::runtime_error("unknown token " + std::to_string(token));
        }
    }

    void Message(bool error) {
        const std::size_t length = Number(2);
        const std::size_t end = at_ + length;
        ClientMessage message;
        message.error = error;
        message.number = static_cast<std::int32_t>(Number(4));
        message.state = static_cast<int>(Number(1));
        message.severity = static_cast<int>(Number(1));
        message.text = Text(Number(2));
        message.server = Text(Number(1));
        message.procedure = Text(Number(1));
        message.line = static_cast<std::int32_t>(Number(wide_ ? 4 : 2));
        if (at_ != end) throw std::runtime_error("a message of wrong length");
        response_.messages.push_back(message);
    }

    // From here on the server speaks the version that it acknowledges.
    void Acknowledgement() {
        response_.acknowledged = Hex(Take(Number(2)));
        wide_ = response_.acknowledged.substr(2, 8) >= "72000000";
    }

    void Change() {
        const std::size_t length = Number(2);
        const std::size_t end = at_ + length;
        ClientChange change;
        change.type = static_cast<int>(Number(1));
        const bool text = change.type <= 4;
        const auto part = [&] { return Hex(Take(Number(1) * (text ? 2 : 1))); };
        change.now = part();
        change.before = part();
        if (at_ != end) throw std::runtime_error("an environment change of wrong length");
        response_.changes.push_back(change);
    }

    void Done(std::uint8_t token) {
        ClientDone done;
        done.token = token;
        done.status = static_cast<std::uint16_t>(Number(2));
        done.command = static_cast<std::uint16_t>(Number(2));
        done.count = static_cast<std::int64_t>(Number(wide_ ? 8 : 4));
        response_.dones.push_back(done);
    }

    void ReturnValue() {
        Number(2);
        ClientReturnValue value;
        value.name = Text(Number(1));
        Number(1);
        Number(wide_ ? 4 : 2);
        Number(2);
        if (Hex(Take(3)) != "260404") throw std::runtime_error("a return value that is no int");
        value.value = static_cast<std::int32_t>(Number(4));
        response_.returnValues.push_back(value);
    }

    void Columns() {
        ClientRows set;
        set.columns.resize(Number(2));
        for (ClientColumn& column : set.columns) {
            column.userType = static_cast<std::uint32_t>(Number(wide_ ? 4 : 2));
            column.flags = static_cast<std::uint16_t>(Number(2));
            const std::size_t start = at_;
            TypeInfo();
            column.type = Hex(data_.substr(start, at_ - start));
            column.name = Text(Number(1));
        }
        response_.sets.push_back(set);
    }

    void TypeInfo() {
        switch (const auto type = static_cast<std::uint8_t>(Number(1))) {
            case 0x28:
                return;
            case 0x24:
            case 0x26:
            case 0x68:
            case 0x6D:
            case 0x6E:
            case 0x6F:
            case 0x29:
            case 0x2A:
            case 0x2B:
            case 0xF1:
                Take(1);
                return;
            case 0x6A:
            case 0x6C:
                Take(3);
                return;
            case 0xA5:
            case 0xAD:
                Take(2);
                return;
            case 0xA7:
            case 0xAF:
            case 0xE7:
            case 0xEF:
                Take(7);
                return;
            case 0x62:
                Take(4);
                return;
            case 0x22:
            case 0x23:
            case 0x63: {
                Take(type == 0x22 ? 4 : 9);
                std::uint64_t parts = wide_ ? Number(1) : 1;
                for (; parts > 0; --parts)
                    Text(Number(2));
                return;
            }
            default:
                throw std::runtime_error("unknown type " + std::to_string(type));
        }
    }

    void Row() {
        ClientRows& set = response_.sets.at(response_.sets.size() - 1);
        std::vector<std::optional<std::string>> row;
        for (const ClientColumn& column : set.columns)
            row.push_back(Field(column.type));
        set.rows.push_back(row);
    }

    std::optional<std::string> Field(const std::string& type) {
        const std::string kind = type.substr(0, 2);
        if (kind == "A5" || kind == "AD" || kind == "A7" || kind == "AF" || kind == "E7" ||
            kind == "EF") {
            if (type.substr(2, 4) == "FFFF") return Chunked();
            const std::uint64_t size = Number(2);
            if (size == 0xFFFF) return std::nullopt;
            return Hex(Take(size));
        }
        if (kind == "F1") return Chunked();
        if (kind == "62") {
            const std::uint64_t size = Number(4);
            if (size == 0) return std::nullopt;
            return Hex(Take(size));
        }
        if (kind == "22" || kind == "23" || kind == "63") {
            const std::uint64_t pointer = Number(1);
            if (pointer == 0) return std::nullopt;
            Take(pointer + 8);
            return Hex(Take(Number(4)));
        }
        const std::uint64_t size = Number(1);
        if (size == 0) return std::nullopt;
        return Hex(Take(size));
    }

    std::optional<std::string> Chunked() {
        const std::uint64_t total = Number(8);
        if (total == ~std::uint64_t{0}) return std::nullopt;
        std::string all;
        while (const std::uint64_t size = Number(4))
            all += Take(size);
        if (all.size() != total) throw std::runtime_error("chunks that do not add up");
        return Hex(all);
    }

    std::string_view data_;
    std::size_t at_ = 0;
    bool wide_;
    ClientResponse& response_;
};

}  // namespace

std::string Hex(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string hex;
    for (const char c : bytes) {
        hex += kDigits[static_cast<std::uint8_t>(c) >> 4];
        hex += kDigits[static_cast<std::uint8_t>(c) & 15];
    }
    return hex;
}

std::string Utf16Bytes(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text)
        bytes += Little(static_cast<std::uint16_t>(unit));
    return bytes;
}

TdsClient::TdsClient(std::uint16_t port)
    : handle_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    // No test waits longer than this for an answer.
    const timeval limit{20, 0};
    ::setsockopt(handle_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    if (::connect(handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(handle_);
        throw std::runtime_error("cannot connect");
    }
}

TdsClient::~TdsClient() {
    ::close(handle_);
}

std::string TdsClient::Prelogin() {
    using namespace std::string_literals;
    SendMessage(0x12,
                "\x00\x00\x0B\x00\x06\x01\x00\x11\x00\x01\xFF"
                "\x09\x00\x00\x00\x00\x00\x00"s);
    ClientResponse response;
    return Hex(ReceivePayload(response));
}

std::string TdsClient::LoginPayload(const ClientLogin& login) {
    std::string password = Utf16Bytes(login.password);
    for (char& byte : password) {
        const auto plain = static_cast<std::uint8_t>(byte);
        byte = static_cast<char>(((plain << 4 | plain >> 4) & 0xFF) ^ 0xA5);
    }
    const bool longForm = login.version >= 0x72000000;
    const std::size_t head = longForm ? 94 : 86;
    std::string fields;
    std::string table;
    const auto add = [&](const std::string& bytes, std::size_t unit) {
        table += Little(static_cast<std::uint16_t>(head + fields.size()));
        table += Little(static_cast<std::uint16_t>(bytes.size() / unit));
        fields += bytes;
    };
    add(Utf16Bytes(login.host), 2);
    add(Utf16Bytes(login.user), 2);
    add(password, 2);
    add(Utf16Bytes(login.application), 2);
    add(Utf16Bytes(u"server"), 2);
    add("", 1);
    add(Utf16Bytes(u"library"), 2);
    add("", 2);
    add(Utf16Bytes(login.database), 2);
    table += std::string(6, '\x01');
    add(login.sspi, 1);
    add("", 2);  // file to attach
    if (longForm) {
        add("", 2);  // new password
        table += Little(std::uint32_t{0});
    }

    std::string payload = Little(static_cast<std::uint32_t>(head + fields.size()));
    payload += Little(login.version) + Little(login.packetSize);
    payload += Little(std::uint32_t{7}) + Little(std::uint32_t{1}) + Little(std::uint32_t{0});
    payload += '\xE0';
    payload += static_cast<char>(login.integrated ? 0x83 : 0x03);
    payload += std::string(2, '\0') + Little(std::uint32_t{0}) + Little(std::uint32_t{0x409});
    return payload + table + fields;
}

ClientResponse TdsClient::Login(const ClientLogin& login) {
    version_ = login.version;
    SendMessage(0x10, LoginPayload(login));
    ClientResponse response = Receive();
    // The server answers with a version of its own choice: 71000001 and so on.
    if (response.acknowledged.size() > 10) {
        version_ =
            static_cast<std::uint32_t>(std::stoul(response.acknowledged.substr(2, 8), nullptr, 16));
    }
    for (const ClientChange& change : response.changes) {
        if (change.type != 4) continue;
        std::string digits;
        for (std::size_t n = 0; n < change.now.size(); n += 4)
            digits += change.now[n + 1];
        packetSize_ = std::stoul(digits);
    }
    return response;
}

std::string TdsClient::Headers() const {
    if (version_ < 0x72000000) return "";
    return Little(std::uint32_t{22}) + Little(std::uint32_t{18}) + Little(std::uint16_t{2}) +
           Little(std::uint64_t{0}) + Little(std::uint32_t{1});
}

ClientResponse TdsClient::Query(std::u16string_view batch) {
    SendBatch(batch);
    return Receive();
}

void TdsClient::SendBatch(std::u16string_view batch, std::uint8_t status) {
    const std::string payload = Headers() + Utf16Bytes(batch);
    if (status == 0x01) return SendMessage(0x01, payload);
    SendPacket(0x01, payload, status);
}

ClientResponse TdsClient::Call(std::string_view body) {
    SendMessage(0x03, Headers() + std::string(body));
    return Receive();
}

ClientResponse TdsClient::Transaction(std::string_view body) {
    SendMessage(0x0E, Headers() + std::string(body));
    return Receive();
}

void TdsClient::SendMessage(std::uint8_t type, std::string_view payload) {
    const std::size_t perPacket = packetSize_ - 8;
    while (payload.size() > perPacket) {
        SendPacket(type, payload.substr(0, perPacket), 0x00);
        payload.remove_prefix(perPacket);
    }
    SendPacket(type, payload, 0x01);
}

void TdsClient::SendPacket(std::uint8_t type, std::string_view payload, std::uint8_t status) {
    const std::size_t length = payload.size() + 8;
    std::string packet;
    packet += static_cast<char>(type);
    packet += static_cast<char>(status);
    packet += static_cast<char>(length >> 8);
    packet += static_cast<char>(length & 0xFF);
    packet += std::string(4, '\0');
    packet += payload;
    SendRaw(packet);
}

void TdsClient::SendRaw(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(handle_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return;  // what the server makes of it shows in what it answers
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

bool TdsClient::ReadExactly(char* to, std::size_t size) const {
    while (size > 0) {
        const ssize_t got = ::recv(handle_, to, size, 0);
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            throw std::runtime_error("the server does not answer");
        }
        if (got <= 0) return false;
        to += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

std::string TdsClient::ReceivePayload(ClientResponse& response) const {
    std::string payload;
    for (;;) {
        std::array<char, 8> header{};
        response.closed = true;
        if (!ReadExactly(header.data(), header.size())) return payload;
        if (header[0] != 4) throw std::runtime_error("not a response");
        const std::size_t length = static_cast<std::size_t>(static_cast<std::uint8_t>(header[2]))
                                       << 8 |
                                   static_cast<std::uint8_t>(header[3]);
        response.packetSizes.push_back(length);
        std::string part(length - 8, '\0');
        if (!ReadExactly(part.data(), part.size())) return payload;
        payload += part;
        response.closed = false;
        if ((header[1] & 1) != 0) return payload;
    }
}

ClientResponse TdsClient::Receive() {
    ClientResponse response;
    const std::string payload = ReceivePayload(response);
    if (!response.closed || !payload.empty()) {
        try {
            Parser(payload, version_, response).Run();
        } catch (const std::runtime_error&) {
            // A response cut off in the middle of a token is read as far as it goes.
            if (!response.closed) throw;
        }
    }
    return response;
}

bool TdsClient::IsClosed() {
    char byte = 0;
    return !ReadExactly(&byte, 1);
}

}  // namespace sandbox::wire
