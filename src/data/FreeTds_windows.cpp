#include <string>

#include "core/Text.h"
#include "data/ConnectionString.h"
#include "data/FreeTds.h"

namespace QuillonLib::odbc {

namespace {

constexpr std::size_t Room = 4096;

}  // namespace

// The registration of a driver tells its file where the driver manager is not Windows' own.
bool IsFreeTds(SQLHANDLE environment, std::u16string_view connectionString) {
    const std::u16string wanted = DriverOf(connectionString);
    std::u16string name(Room, u'\0');
    std::u16string attributes(Room, u'\0');
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    for (;;) {
        SQLSMALLINT nameLength = 0;
        SQLSMALLINT attributesLength = 0;
        const SQLRETURN result = SQLDriversW(environment, direction, Wide(name), Room, &nameLength,
                                             Wide(attributes), Room, &attributesLength);
        if (!SQL_SUCCEEDED(result)) return false;
        direction = SQL_FETCH_NEXT;
        if (!EqualIgnoringCase(name.c_str(), wanted)) continue;
        return FoldCase(attributes).find(u"tdsodbc") != std::u16string::npos;
    }
}

}  // namespace QuillonLib::odbc
