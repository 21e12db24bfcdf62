// The engine of the sandbox: T-SQL over SQLite.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "Backend.h"

namespace sandbox {

struct EngineSettings {
    std::u16string name = u"SANDBOX";  // @@SERVERNAME
    std::string version =
        "10.50.6000";  // 8.00.x: SQL Server 2000 catalogs only; 9 and later: sys. views too
    std::u16string user = u"sa";
    std::u16string password = u"sandbox";
    bool integratedLogin = true;  // accept logins with integrated security
    std::u16string address;       // "127.0.0.1,port": how linked servers name it as data source
};

// All servers of one process. They share a storage folder, so that linked servers between them
// can be answered by one SQLite connection. Outlives every Backend and Session made from it.
class EngineHost {
  public:
    // Databases live in a new folder under the system's temporary folder, removed on destruction.
    EngineHost();
    ~EngineHost();
    EngineHost(const EngineHost&) = delete;
    EngineHost& operator=(const EngineHost&) = delete;

    // Throws std::invalid_argument when the name is taken.
    std::unique_ptr<Backend> AddServer(const EngineSettings& settings);

    class Impl;

  private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace sandbox
