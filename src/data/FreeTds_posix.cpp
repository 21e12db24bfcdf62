#include "data/FreeTds.h"

namespace QuillonLib::odbc {

// The one way to a SQL Server here.
bool IsFreeTds(SQLHANDLE /*environment*/, std::u16string_view /*connectionString*/) {
    return true;
}

}  // namespace QuillonLib::odbc
