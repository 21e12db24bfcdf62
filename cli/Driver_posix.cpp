#include "cli/Driver.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

#include "cli/Interrupt.h"

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

// The registration of this process, in memory of its own: a signal handler reads it.
struct PrivateRegistration {
    std::string folder;
    std::string file;
    ~PrivateRegistration() { Remove(); }
    // Only what a signal handler may call.
    void Remove() const noexcept {
        if (folder.empty()) return;
        unlink(file.c_str());
        rmdir(folder.c_str());
    }
};

PrivateRegistration& Registration() {
    static PrivateRegistration registration;
    return registration;
}

// A new folder where temporary files go; empty when there is no such place.
std::string MakeFolder() {
    std::error_code unset;
    for (const fs::path& place : {fs::temp_directory_path(unset), fs::path("/tmp")}) {
        if (place.empty()) continue;
        std::string name = (place / "quillon-odbc-XXXXXX").string();
        if (mkdtemp(name.data()) != nullptr) return name;
    }
    return {};
}

bool WriteRegistration(const std::string& file, const fs::path& driver) {
    std::ofstream stream(file);
    stream << Section << "\nDriver=" << driver.string() << '\n';
    stream.close();
    return !stream.fail();
}

std::string Complaint() {
    return "the ODBC driver cannot be registered in a temporary folder (see TMPDIR): " +
           std::generic_category().message(errno);
}

}  // namespace

std::string MakeDriverReachable() {
    if (std::getenv("ODBCSYSINI") != nullptr || IsRegistered()) return {};
    const fs::path driver = FindFreeTds();
    if (driver.empty()) return {};  // the driver manager will say what is missing
    PrivateRegistration& registration = Registration();
    registration.folder = MakeFolder();
    if (registration.folder.empty()) return Complaint();
    registration.file = registration.folder + "/odbcinst.ini";
    BeforeEndingAtOnce([]() noexcept { Registration().Remove(); });
    if (!WriteRegistration(registration.file, driver)) return Complaint();
    setenv("ODBCSYSINI", registration.folder.c_str(), 1);
    return {};
}

}  // namespace quillon
