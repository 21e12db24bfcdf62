#include "cli/Driver.h"

namespace quillon {

// "SQL Server" is the system's own driver.
std::string MakeDriverReachable() {
    return {};
}

}  // namespace quillon
