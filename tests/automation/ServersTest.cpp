// The servers on the network, one of which is the test itself.
#include <winsock2.h>
// <winsock2.h> comes before <windows.h>.
#include <algorithm>
#include <atomic>
#include <string>
#include <thread>

#include "Calls.h"

namespace client {

namespace {

// Answers on this machine as the browser of SQL Server does.
class Browser {
  public:
    Browser() {
        WSADATA ignored;
        WSAStartup(MAKEWORD(2, 2), &ignored);
        socket_ = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        const DWORD patience = 100;
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&patience),
                   sizeof(patience));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(1434);
        // The port is one for the whole machine: another run of this test may have it for a while.
        for (int tries = 0; tries < 200 && !listens_; ++tries) {
            listens_ = bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
            if (!listens_) Sleep(100);
        }
        thread_ = std::thread([this] { Answer(); });
    }
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;
    ~Browser() {
        ended_ = true;
        thread_.join();
        closesocket(socket_);
        WSACleanup();
    }
    bool Listens() const { return listens_; }

  private:
    void Answer() const {
        const std::string text =
            "ServerName;AUTOMATION;InstanceName;TEST;IsClustered;No;Version;10.50.1600.1;;"
            "ServerName;AUTOMATION;InstanceName;MSSQLSERVER;IsClustered;No;Version;10.50.1600.1;;";
        std::string answer = "\x05";
        answer += static_cast<char>(text.size() & 0xFF);
        answer += static_cast<char>(text.size() >> 8);
        answer += text;
        while (!ended_) {
            char request[64];
            sockaddr_in asker{};
            int size = sizeof(asker);
            if (recvfrom(socket_, request, sizeof(request), 0, reinterpret_cast<sockaddr*>(&asker),
                         &size) > 0) {
                sendto(socket_, answer.data(), static_cast<int>(answer.size()), 0,
                       reinterpret_cast<sockaddr*>(&asker), size);
            }
        }
    }

    SOCKET socket_;
    bool listens_ = false;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

class Servers : public ClientTest {};

std::vector<std::wstring> TextsIn(SAFEARRAY* array, LONG& lower) {
    LONG upper = 0;
    SafeArrayGetLBound(array, 1, &lower);
    SafeArrayGetUBound(array, 1, &upper);
    std::vector<std::wstring> texts;
    for (LONG i = lower; i <= upper; ++i) {
        Bstr text;
        SafeArrayGetElement(array, &i, text.Put());
        texts.push_back(text.Text());
    }
    return texts;
}

TEST_F(Servers, AreAnArrayOfStringsFromOne) {
    const Browser browser;
    ASSERT_TRUE(browser.Listens()) << "something else listens on port 1434 of this machine";
    const auto utils = Create<IUtils>(__uuidof(Utils));
    Value servers;
    ASSERT_EQ(utils->get_AvailableServers(&servers), S_OK);
    ASSERT_EQ(servers.vt, VT_ARRAY | VT_BSTR);
    LONG lower = 99;
    const auto names = TextsIn(servers.parray, lower);
    EXPECT_EQ(lower, 1);
    EXPECT_NE(std::find(names.begin(), names.end(), L"AUTOMATION"), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), L"AUTOMATION\\TEST"), names.end());

    const auto late = utils.As<IDispatch>();
    Value shown;
    ASSERT_EQ(
        Call(late.Get(), IdOf(late.Get(), L"AvailableServers"), DISPATCH_PROPERTYGET, {}, &shown),
        S_OK);
    EXPECT_EQ(shown.vt, VT_ARRAY | VT_VARIANT);
}

}  // namespace

}  // namespace client
