// A client of the tests' own: speaks each version of the protocol and shows what came over the
// wire byte for byte. It shares no code with the server.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sandbox::wire {

struct ClientColumn {
    std::u16string name;
    std::uint32_t userType = 0;
    std::uint16_t flags = 0;
    std::string type;  // the bytes of the type description, in hex
};

struct ClientRows {
    std::vector<ClientColumn> columns;
    // Each field as the bytes of its value in hex; nothing for NULL.
    std::vector<std::vector<std::optional<std::string>>> rows;
};

struct ClientMessage {
    bool error = false;
    std::int32_t number = 0;
    int state = 0;
    int severity = 0;
    std::u16string text;
    std::u16string server;
    std::u16string procedure;
    std::int32_t line = 0;
};

struct ClientDone {
    std::uint8_t token = 0;  // 0xFD, 0xFE, 0xFF
    std::uint16_t status = 0;
    std::uint16_t command = 0;
    std::int64_t count = 0;
};

struct ClientReturnValue {
    std::u16string name;
    std::int32_t value = 0;
};

struct ClientChange {
    int type = 0;
    std::string now;     // hex behind the length
    std::string before;  // hex behind the length
};

struct ClientResponse {
    std::vector<ClientRows> sets;
    std::vector<ClientMessage> messages;
    std::vector<ClientDone> dones;
    std::vector<ClientChange> changes;
    std::optional<std::int32_t> returnStatus;
    std::vector<ClientReturnValue> returnValues;
    std::string acknowledged;  // version, program and its version of a login acknowledgement, hex
    std::string sspi;          // hex
    bool closed = false;       // the connection ended before the message did
    std::vector<std::size_t> packetSizes;
};

struct ClientLogin {
    std::uint32_t version = 0x74000004;
    std::u16string user = u"sa";
    std::u16string password = u"sandbox";
    std::u16string database;
    std::u16string application = u"tests";
    std::u16string host = u"here";
    std::uint32_t packetSize = 4096;
    bool integrated = false;
    std::string sspi;
};

std::string Hex(std::string_view bytes);
std::string Utf16Bytes(std::u16string_view text);

class TdsClient {
  public:
    explicit TdsClient(std::uint16_t port);
    ~TdsClient();
    TdsClient(const TdsClient&) = delete;
    TdsClient& operator=(const TdsClient&) = delete;

    // The raw answer to a pre-login, in hex.
    std::string Prelogin();
    ClientResponse Login(const ClientLogin& login = {});
    static std::string LoginPayload(const ClientLogin& login);

    ClientResponse Query(std::u16string_view batch);
    void SendBatch(std::u16string_view batch, std::uint8_t status = 0x01);
    void SendAttention() { SendPacket(0x06, "", 0x01); }
    // `body` without the headers in front.
    ClientResponse Call(std::string_view body);
    ClientResponse Transaction(std::string_view body);

    void SendMessage(std::uint8_t type, std::string_view payload);
    void SendPacket(std::uint8_t type, std::string_view payload, std::uint8_t status);
    void SendRaw(std::string_view bytes) const;
    // Reads one message to its end, or to the end of the connection.
    ClientResponse Receive();
    // True when the server has closed the connection and sent nothing more.
    bool IsClosed();

  private:
    std::string ReceivePayload(ClientResponse& response) const;
    bool ReadExactly(char* to, std::size_t size) const;
    std::string Headers() const;

    int handle_ = -1;
    std::uint32_t version_ = 0x74000004;
    std::size_t packetSize_ = 4096;
};

}  // namespace sandbox::wire
