#include "sandbox/engine/execution/NewObject.h"

#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {

int NewSchema(Catalog& catalog, const ObjectName& name) {
    const std::u16string schema = name.schema.empty() ? u"dbo" : name.schema;
    const auto id = catalog.SchemaId(schema);
    if (!id) {
        throw SqlError(
            2760,
            Format(u"The specified schema name \"%1\" either does not exist or you do not have "
                   u"permission to use it.",
                   {schema}));
    }
    return *id;
}

Catalog& TargetCatalog(Context& context, const ObjectName& name) {
    if (!name.server.empty()) {
        throw SqlError(
            117,
            Format(u"The object name '%1' contains more than the maximum number of prefixes. The "
                   u"maximum is 2.",
                   {name.Text()}),
            15);
    }
    Catalog& catalog = context.OpenNamed(u"", name.database);
    if (!name.database.empty() && !SameName(catalog.File()->name, name.database)) {
        throw SqlError(2702, Format(u"Database '%1' does not exist.", {name.database}));
    }
    return catalog;
}

void RefuseTemporary(const ObjectName& name) {
    if (!name.name.starts_with(u"#")) return;
    throw SqlError(2702, u"Temporary objects are not supported by this server.");
}

}  // namespace sandbox::engine
