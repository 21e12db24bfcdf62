#include "data/ConnectionString.h"
#include "data/FreeTds.h"

namespace QuillonLib::odbc {

// The one way to a SQL Server here, unless the caller names the file of another.
bool IsFreeTds(SQLHANDLE /*environment*/, std::u16string_view connectionString) {
    const std::u16string driver = DriverOf(connectionString);
    return !driver.starts_with(u'/') || IsFileOfFreeTds(driver);
}

}  // namespace QuillonLib::odbc
