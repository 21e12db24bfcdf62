// Whether FreeTDS is the driver: it needs what no other one understands. Not installed.
#pragma once

#include <string_view>

#include "data/Odbc.h"

namespace QuillonLib::odbc {

// Of the driver that the connection string names. It is asked before there is a connection that
// could tell.
bool IsFreeTds(SQLHANDLE environment, std::u16string_view connectionString);

}  // namespace QuillonLib::odbc
