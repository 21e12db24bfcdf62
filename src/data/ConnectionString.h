// The one connection string of the library.
#pragma once

#include <string>
#include <string_view>

namespace QuillonLib {

inline constexpr std::u16string_view DefaultDriver = u"SQL Server";

// "driver={SQL Server};server=S;database=D;uid=U;pwd=P". With `ntSecurity`, uid and pwd are left
// out. The values are placed as they stand, with no quoting of ";", "{" or "}".
std::u16string BuildConnectionString(std::u16string_view server, std::u16string_view database,
                                     bool ntSecurity, std::u16string_view user,
                                     std::u16string_view password,
                                     std::u16string_view driver = DefaultDriver);

// The driver that the text names, without braces; empty where it names none.
std::u16string DriverOf(std::u16string_view connectionString);

// Whether a driver that is named by its file is FreeTDS, as far as the file's name tells it.
bool IsFileOfFreeTds(std::u16string_view driver);

// What FreeTDS is given in place of `connectionString` where one of its quirks needs it (see the
// definition).
std::u16string AdaptConnectionString(std::u16string_view connectionString);

}  // namespace QuillonLib
