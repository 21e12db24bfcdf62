// Where a new object goes.
#pragma once

#include "sandbox/engine/catalog/Context.h"
#include "sandbox/engine/syntax/Ast.h"

namespace sandbox::engine {

// The schema of a new object. Throws 2760.
int NewSchema(Catalog& catalog, const ObjectName& name);
// Its database. Throws 117, 2702 and what Context::OpenNamed throws.
Catalog& TargetCatalog(Context& context, const ObjectName& name);
// Throws 2702 for the name of a temporary object.
void RefuseTemporary(const ObjectName& name);

}  // namespace sandbox::engine
