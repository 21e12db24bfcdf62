// How the tables of databases 1 and 2 are named in a query that runs on the server of database 3.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace QuillonLib {

class Connection;
class Database;
class Recordset;

inline constexpr std::u16string_view LinkedServerOfDatabase1 = u"KARNOBE_1";
inline constexpr std::u16string_view LinkedServerOfDatabase2 = u"KARNOBE_2";

// Whether the database is on the server of database 3: its tables are then named without a linked
// server.
bool IsOnServerOf(const Database& obDatabase, const Database& obDB3);

// Defines the linked server anew on the server of database 3, reached through `connection3`, and
// records its name in `obDatabase`. Does nothing for a database on that server. `probe` is a closed
// row set to work with.
//
// The definition is never removed, and its name is fixed: two comparisons through one server at
// the same time take it from each other.
void DefineLinkedServer(Database& obDatabase, const Database& obDB3, std::u16string_view name,
                        const std::shared_ptr<Connection>& connection3, Recordset& probe);

// "[database].[owner].[name]", with "[linked server]." in front for a database on another server.
// Names are bracketed as they stand.
std::u16string QualifiedName(const Database& obDatabase, const Database& obDB3,
                             std::u16string_view sTable);

}  // namespace QuillonLib
