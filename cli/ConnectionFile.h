// The connections that a user has given names.
//
//     # a comment
//     [sales]
//     server = db1.example.org
//     database = sales
//     user = reader
//     password-command = pass show db1/reader
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

// How a session is protected, as FreeTDS offers it; it looks at no certificate where a server is
// named as it is here.
enum class Encryption {
    Off,      // not even the login
    Request,  // the login at least, where the server can; the session where it asks for it
    Require,  // the whole session, or there is none
};

// Throws std::runtime_error for a text that is none of "off", "request" and "require".
Encryption ParseEncryption(const std::string& text);

// Throws std::runtime_error for a text that is no number of seconds.
std::chrono::seconds ParseSeconds(const std::string& text);

struct NamedConnection {
    std::string name;
    std::string server;
    std::string database;
    std::string user;
    bool integrated = false;
    std::optional<Encryption> encryption;
    std::string passwordCommand;   // its first line of output is the password
    std::string passwordVariable;  // of the environment
    std::optional<std::chrono::seconds> loginTimeout;
    std::optional<std::chrono::seconds> statementTimeout;
    std::string description;
};

class ConnectionFile {
  public:
    // `file`: empty for the user's own, connections.ini in the folder quillon of the folder for
    // configurations. Throws std::runtime_error that names the file, the line and what is wrong;
    // a file of the user's own need not be there.
    static ConnectionFile Read(const std::string& file);
    // Throws std::runtime_error as above; `name` is that of the file in its errors.
    static ConnectionFile Parse(const std::string& text, const std::string& name);

    const std::vector<NamedConnection>& Connections() const { return connections_; }
    // Throws std::runtime_error that names what is near where there is none of that name.
    const NamedConnection& Find(const std::string& name) const;

  private:
    std::string file_;
    bool exists_ = false;
    std::vector<NamedConnection> connections_;
};

}  // namespace quillon
