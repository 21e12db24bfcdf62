// Clients that break the protocol. The connection ends; the server goes on.
#include <gtest/gtest.h>

#include <random>

#include "FakeBackend.h"
#include "TdsClient.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

using namespace std::string_literals;

class HostileTest : public ::testing::Test {
  protected:
    HostileTest() { server_.Serve(backend_); }

    ~HostileTest() override {
        // Whatever was sent, the next client is served.
        TdsClient client(server_.Port());
        EXPECT_FALSE(client.Login().acknowledged.empty());
    }

    // Sends raw bytes to a fresh connection and expects it to be closed without an answer.
    void ExpectClosed(const std::string& bytes) const {
        TdsClient client(server_.Port());
        client.SendRaw(bytes);
        EXPECT_TRUE(client.IsClosed()) << Hex(bytes);
    }

    void ExpectClosedAfterLogin(std::uint8_t type, const std::string& payload) const {
        TdsClient client(server_.Port());
        client.Login();
        client.SendMessage(type, payload);
        EXPECT_TRUE(client.IsClosed()) << Hex(payload);
    }

    FakeBackend backend_;
    WireServer server_;
};

std::string Packet(std::uint8_t type, std::string_view payload) {
    const std::size_t length = payload.size() + 8;
    std::string packet = {static_cast<char>(type),
                          1,
                          static_cast<char>(length >> 8),
                          static_cast<char>(length & 0xFF),
                          0,
                          0,
                          0,
                          0};
    return packet.append(payload);
}

TEST_F(HostileTest, PacketsOfImpossibleLength) {
    ExpectClosed("\x12\x01\x00\x00\0\0\0\0"s);
    ExpectClosed("\x12\x01\x00\x07\0\0\0\0"s);
    ExpectClosed("\x12\x01\xFF\xFF\0\0\0\0"s);
}

TEST_F(HostileTest, AnythingButALoginFirst) {
    ExpectClosed(Packet(0x01, "s\0e\0l\0"s));
    ExpectClosed(Packet(0x06, ""));
    ExpectClosed(Packet(0x77, "abc"));
    ExpectClosed("GET / HTTP/1.1\r\n\r\n");
    ExpectClosed(
        "\x16\x03\x01\x00\x10"
        "0123456789ABCDEF"s);
}

TEST_F(HostileTest, PreloginOptionsOutsideOfThePacket) {
    ExpectClosed(Packet(0x12, ""));
    ExpectClosed(Packet(0x12, "\x00\x00\x0B"s));
    ExpectClosed(Packet(0x12, "\x00\x00\xFF\x00\x06\xFF"s));
    ExpectClosed(Packet(0x12, "\x00\x00\x06\xFF\xFF\xFF"s));
}

TEST_F(HostileTest, TruncatedLogins) {
    const std::string whole = TdsClient::LoginPayload({});
    for (std::size_t size = 0; size < whole.size(); size += 7) {
        ExpectClosed(Packet(0x10, whole.substr(0, size)));
    }
    // Shorter than it says, although the length in front was mended.
    for (std::size_t size = 4; size < 94; size += 5) {
        std::string cut = whole.substr(0, size);
        cut[0] = static_cast<char>(size);
        cut[1] = 0;
        ExpectClosed(Packet(0x10, cut));
    }
}

TEST_F(HostileTest, LoginFieldsOutsideOfThePacket) {
    for (const std::size_t field : {36U, 40U, 44U, 48U, 52U, 68U}) {
        std::string login = TdsClient::LoginPayload({});
        login[field] = '\xF0';
        login[field + 1] = '\xFF';
        login[field + 2] = '\x10';
        ExpectClosed(Packet(0x10, login));
        login = TdsClient::LoginPayload({});
        login[field + 2] = '\xFF';
        login[field + 3] = '\xFF';
        ExpectClosed(Packet(0x10, login));
    }
}

TEST_F(HostileTest, AnEndlessMessageBeforeLogin) {
    TdsClient client(server_.Port());
    std::string packet = Packet(0x10, std::string(4088, 'x'));
    packet[1] = 0;  // more follows, for ever
    for (int n = 0; n < 100; ++n)
        client.SendRaw(packet);
    EXPECT_TRUE(client.IsClosed());
}

TEST_F(HostileTest, AConnectionThatEndsInTheMiddleOfAPacket) {
    {
        TdsClient client(server_.Port());
        client.SendRaw("\x12\x01\x00\x40\0\0\0\0abc"s);
    }
    {
        TdsClient client(server_.Port());
        client.SendRaw("\x12\x01"s);
    }
}

TEST_F(HostileTest, RequestHeadersOfImpossibleLength) {
    ExpectClosedAfterLogin(0x01, "");
    ExpectClosedAfterLogin(0x01, "\x03\0\0\0"s);
    ExpectClosedAfterLogin(0x01,
                           "\xFF\xFF\xFF\xFF"
                           "abcd"s);
    ExpectClosedAfterLogin(0x03, "\x16\0\0"s);
    ExpectClosedAfterLogin(0x0E, "\x04\0\0\0"s);
}

TEST_F(HostileTest, HalfACharacter) {
    ExpectClosedAfterLogin(0x01, "\x04\0\0\0abc"s);
}

TEST_F(HostileTest, RequestsThatServersDoNotTake) {
    ExpectClosedAfterLogin(0x07, "bulk");
    ExpectClosedAfterLogin(0x10, TdsClient::LoginPayload({}));
    ExpectClosedAfterLogin(0x55, "");
}

TEST_F(HostileTest, MessagesThatChangeTheirTypeMidway) {
    TdsClient client(server_.Port());
    client.Login();
    client.SendPacket(0x01, "\x04\0\0\0"s, 0x00);
    client.SendPacket(0x03, "a\0"s, 0x01);
    EXPECT_TRUE(client.IsClosed());
}

TEST_F(HostileTest, BrokenProcedureCalls) {
    const std::string headers = "\x04\0\0\0"s;
    for (const std::string& body : {
             ""s,
             "\xFF\x7F"
             "a\0"s,                    // a name longer than the message
             "\xFF\xFF\x63\0\0\0"s,     // an unknown number
             "\x01\0p\0\0\0\x05@\0"s,   // a parameter name cut off
             "\x01\0p\0\0\0\0\0\x99"s,  // an unknown type
             "\x01\0p\0\0\0\0\0\x26\x04\x09"
             "123456789"s,  // an int of nine bytes
             "\x01\0p\0\0\0\0\0\x26\x04\x04"
             "12"s,  // a value cut off
             "\x01\0p\0\0\0\0\0\x6A\x05\x40\x02\x05"
             "12345"s,  // precision 64
             "\x01\0p\0\0\0\0\0\x29\x09\x05"
             "12345"s,                                              // scale 9
             "\x01\0p\0\0\0\0\0\x29\x07\x05\xFF\xFF\xFF\xFF\xFF"s,  // beyond midnight
             "\x01\0p\0\0\0\0\0\x28\x03\xFF\xFF\xFF"s,              // beyond the year 9999
             "\x01\0p\0\0\0\0\0\x24\x10\x03"
             "123"s,  // a short uniqueidentifier
             "\x01\0p\0\0\0\0\0\xE7\xFF\xFF\x09\x04\xD0\0\0\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
             "\xFF\xFF\xFF\x7F"
             "ab"s,  // a chunk longer than the message
         }) {
        ExpectClosedAfterLogin(0x03, headers + body);
    }
}

// Random damage to valid requests. The seed is fixed; nothing is expected but survival.
TEST_F(HostileTest, DamagedRequests) {
    std::mt19937 random(20240115);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    const auto damage = [&](std::string bytes) {
        for (std::size_t n = 1 + below(6); n > 0 && !bytes.empty(); --n) {
            switch (below(3)) {
                case 0:
                    bytes[below(bytes.size())] = static_cast<char>(random());
                    break;
                case 1:
                    bytes.resize(below(bytes.size() + 1));
                    break;
                default:
                    bytes.insert(below(bytes.size() + 1), 1, static_cast<char>(random()));
            }
        }
        return bytes;
    };
    const std::string login = TdsClient::LoginPayload({});
    const std::string call =
        "\x04\0\0\0\xFF\xFF\x0A\0\0\0\0\0\x63\xFE\xFF\xFF\x7F\x09\x04\xD0\0\0\x02\0\0\0a\0"s
        "\0\0\xE7\x14\0\x09\x04\xD0\0\0\x02\0b\0\0\0\x6A\x05\x05\x02\x05\x01\x39\x30\0\0"s
        "\0\0\x6F\x08\x08\xF8\xB0\0\0\x1D\xBB\xE2\0\0\0\xA5\xFF\xFF\x02\0\0\0\0\0\0\0"s
        "\x02\0\0\0xy\0\0\0\0"s;
    for (int n = 0; n < 1500; ++n) {
        TdsClient client(server_.Port());
        if (n % 3 == 0) {
            client.SendRaw(Packet(0x10, damage(login)));
        } else {
            client.SendRaw(Packet(0x10, login));
            client.SendRaw(Packet(n % 3 == 1 ? 0x03 : 0x0E, damage(call)));
        }
    }
}

}  // namespace
}  // namespace sandbox::wire
