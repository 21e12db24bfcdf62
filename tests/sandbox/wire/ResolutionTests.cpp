// The resolution protocol, answer for answer.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>

#include "sandbox/wire/Resolution.h"

namespace sandbox::wire {
namespace {

using namespace std::string_literals;

class ResolutionTest : public ::testing::Test {
  protected:
    ResolutionTest() : service_(directory_, 0), handle_(::socket(AF_INET, SOCK_DGRAM, 0)) {
        const timeval limit{0, 200'000};
        ::setsockopt(handle_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }
    ~ResolutionTest() override { ::close(handle_); }

    // The answer to a datagram; "" for silence.
    std::string Ask(const std::string& request) const {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(service_.Port());
        ::sendto(handle_, request.data(), request.size(), 0,
                 reinterpret_cast<const sockaddr*>(&address), sizeof address);
        std::array<char, 70'000> answer{};
        const ssize_t got = ::recv(handle_, answer.data(), answer.size(), 0);
        return got > 0 ? std::string(answer.data(), static_cast<std::size_t>(got)) : "";
    }

    Directory directory_;
    ResolutionService service_;
    int handle_;
};

const std::string kDefault =
    "ServerName;ALPHA;InstanceName;MSSQLSERVER;IsClustered;No;Version;8.00.2039;tcp;1433;;";
const std::string kNamed =
    "ServerName;BETA;InstanceName;SQLEXPRESS;IsClustered;No;Version;10.50.6000;tcp;50001;;";

TEST_F(ResolutionTest, TellsAllInstances) {
    directory_.Add({u"ALPHA", "8.00.2039", 1433});
    directory_.Add({u"BETA\\SQLEXPRESS", "10.50.6000", 50001});
    // The length in front: twice 85 characters.
    const std::string expected = "\x05\xAA\0"s + kDefault + kNamed;
    EXPECT_EQ(Ask("\x02"), expected);
    EXPECT_EQ(Ask("\x03"), expected);
}

TEST_F(ResolutionTest, TellsOneInstance) {
    directory_.Add({u"ALPHA", "8.00.2039", 1433});
    directory_.Add({u"BETA\\SQLEXPRESS", "10.50.6000", 50001});
    EXPECT_EQ(Ask("\x04"
                  "SQLEXPRESS\0"s),
              "\x05\x55\0"s + kNamed);
    EXPECT_EQ(Ask("\x04sqlExpress"s), "\x05\x55\0"s + kNamed);
    EXPECT_EQ(Ask("\x04MSSQLSERVER\0"s), "\x05\x55\0"s + kDefault);
}

TEST_F(ResolutionTest, IsSilentForWhatDoesNotExist) {
    EXPECT_EQ(Ask("\x03"), "");
    directory_.Add({u"BETA\\SQLEXPRESS", "10.50.6000", 50001});
    EXPECT_EQ(Ask("\x04OTHER\0"s), "");
    EXPECT_EQ(Ask("\x04SQLEXPRES\0"s), "");
}

TEST_F(ResolutionTest, IsSilentForWhatIsMalformed) {
    directory_.Add({u"BETA\\SQLEXPRESS", "10.50.6000", 50001});
    EXPECT_EQ(Ask(""), "");
    EXPECT_EQ(Ask("\x00"s), "");
    EXPECT_EQ(Ask("\x03\x00"s), "");
    EXPECT_EQ(Ask("\x04"), "");
    EXPECT_EQ(Ask("\x04\0"s), "");
    EXPECT_EQ(Ask("\x04SQL\0EXPRESS\0"s), "");
    EXPECT_EQ(Ask("\x04" + std::string(33, 'x')), "");
    EXPECT_EQ(Ask("\x0F\x01SQLEXPRESS\0"s), "");
    EXPECT_EQ(Ask("\xFF"), "");
    // And still there.
    EXPECT_EQ(Ask("\x02"), "\x05\x55\0"s + kNamed);
}

}  // namespace
}  // namespace sandbox::wire
