#include "cli/Driver.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace quillon {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view Section = "[SQL Server]";

bool IsRegistered() {
    std::ifstream file("/etc/odbcinst.ini");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(Section)) return true;
    }
    return false;
}

fs::path FindFreeTds() {
    std::error_code ignored;
    for (const fs::path folder : {"/usr/lib", "/usr/lib64", "/usr/local/lib"}) {
        fs::path here = folder / "odbc" / "libtdsodbc.so";
        if (fs::exists(here, ignored)) return here;
        for (const auto& entry : fs::directory_iterator(folder, ignored)) {
            fs::path there = entry.path() / "odbc" / "libtdsodbc.so";
            if (fs::exists(there, ignored)) return there;
        }
    }
    return {};
}

// Removed with the process.
struct PrivateRegistration {
    fs::path folder;
    ~PrivateRegistration() {
        std::error_code ignored;
        if (!folder.empty()) fs::remove_all(folder, ignored);
    }
};

}  // namespace

void MakeDriverReachable() {
    if (std::getenv("ODBCSYSINI") != nullptr || IsRegistered()) return;
    const fs::path driver = FindFreeTds();
    if (driver.empty()) return;  // the driver manager will say what is missing
    std::string name = (fs::temp_directory_path() / "quillon-odbc-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) return;
    static PrivateRegistration registration;
    registration.folder = name;
    std::ofstream(registration.folder / "odbcinst.ini")
        << Section << "\nDriver=" << driver.string() << '\n';
    setenv("ODBCSYSINI", name.c_str(), 1);
}

}  // namespace quillon
