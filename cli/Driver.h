// Makes the ODBC driver reachable under the name by which the library asks for it.
#pragma once

#include <string>

namespace quillon {

// The library's connection strings name a driver "SQL Server". Where no driver is registered by
// that name but FreeTDS is installed, as on a fresh Debian, this process gets a registration of its
// own (in a folder that is removed when it ends); the machine's is not touched, and a registration
// that the environment names (ODBCSYSINI) is left alone. Call it once, before the first connection.
// Returns why that could not be done, for people; empty when all is well.
std::string MakeDriverReachable();

}  // namespace quillon
