// Asks the network for SQL Server instances (the SQL Server Resolution Protocol, UDP port 1434).
// Not installed.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace QuillonLib {

struct BrowserAddress {
    std::string host;  // IPv4, dotted
    std::uint16_t port = 1434;
    bool broadcast = false;
};

struct BrowserSettings {
    // By default the broadcast address of the local network, and this machine.
    std::vector<BrowserAddress> addresses{{"255.255.255.255", 1434, true},
                                          {"127.0.0.1", 1434, false}};
    // How long answers are waited for.
    std::chrono::milliseconds patience{1000};
};

// The instances that answered, each once, by name: "HOST" for a default instance, else
// "HOST\INSTANCE". Answers that make no sense are passed over.
std::vector<std::u16string> BrowseServers(const BrowserSettings& settings);

// The instance names in the text of one answer ("ServerName;A;InstanceName;B;...;;").
std::vector<std::u16string> ParseBrowserAnswer(std::string_view text);

}  // namespace QuillonLib
