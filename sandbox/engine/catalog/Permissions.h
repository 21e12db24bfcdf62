// What a login may do. Members of sysadmin may do everything; any other login has what GRANT gave
// to its user in a database, and nothing of what DENY took. An object's owner owns all objects
// here, so what a view or a procedure does in its own database is not asked about (the chain of
// ownership); databases do not share a chain.
#pragma once

#include <string>
#include <string_view>

#include "sandbox/engine/catalog/Catalog.h"
#include "sandbox/engine/catalog/Context.h"
#include "sandbox/engine/syntax/Ast.h"

namespace sandbox::engine {

// The name of the user that the session's login is in the database; "dbo" for sysadmin, empty where
// it is none.
std::u16string UserIn(Context& context, Catalog& catalog);

// Throws 916 where the login is no user of the database.
void RequireAccess(Context& context, Catalog& catalog);

// `permission`: SELECT, INSERT, UPDATE, DELETE, EXECUTE, ALTER.
bool MayUse(Context& context, Catalog& catalog, const ObjectMeta& object,
            std::u16string_view permission);
// Throws 229.
void RequirePermission(Context& context, Catalog& catalog, const ObjectMeta& object,
                       std::u16string_view permission);
// Throws 1088 with that state. `name`: as the statement wrote it.
void RequireAlter(Context& context, const Resolved& resolved, const ObjectName& name,
                  std::uint8_t state);
// Throws 15247.
void RequireAdministrator(const Context& context);

// Whether the catalog shows it: from version 9 only what one has some permission on.
bool MaySee(Context& context, Catalog& catalog, const ObjectMeta& object);
// A query for the ids of all such objects; empty where everything is shown.
std::string VisibleObjects(Context& context, Catalog& catalog);

}  // namespace sandbox::engine
