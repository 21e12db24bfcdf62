#include "sandbox/engine/catalog/Permissions.h"

#include "sandbox/engine/storage/Storage.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

// Their guest is everybody.
bool LetsGuestsIn(const DatabaseFile& file) {
    for (const std::u16string_view name : {u"master", u"tempdb", u"msdb"}) {
        if (SameName(file.name, name)) return true;
    }
    return false;
}

// In m_permission: that on the whole database, on a schema, on an object.
constexpr const char* kCovers =
    "(p.class=0 OR (p.class=3 AND p.id=o.schema_id) OR (p.class=1 AND p.id=o.id))";

// In SQL text.
std::string Grantees(Context& context, Catalog& catalog) {
    return "(" + InlineLiteral(Value::Text(UserIn(context, catalog))) + ",'public')";
}

// The statement is one of a procedure that belongs to the database.
bool OfProcedure(const Context& context, const Catalog& catalog) {
    return context.frame != nullptr && context.frame->inProcedure &&
           catalog.File() == context.current;
}

bool Among(const std::string& sql, Store& store, int id) {
    Statement& s = store.Cached("SELECT 1 WHERE ? IN (" + sql + ")");
    s.Bind(1, Value::Int(id));
    const bool found = s.Step();
    s.Reset();
    return found;
}

}  // namespace

std::u16string UserIn(Context& context, Catalog& catalog) {
    if (context.administrator) return u"dbo";
    Statement& s =
        context.store.Cached("SELECT name FROM " + catalog.Prefix() + "m_user WHERE login=?");
    s.Bind(1, Value::Text(context.user));
    std::u16string name = s.Step() ? s.Text(0) : u"";
    s.Reset();
    if (name.empty() && LetsGuestsIn(*catalog.File())) name = u"guest";
    return name;
}

void RequireAccess(Context& context, Catalog& catalog) {
    if (!UserIn(context, catalog).empty()) return;
    throw SqlError(916,
                   Format(context.server.major >= 9
                              ? u"The server principal \"%1\" is not able to access the database "
                                u"\"%2\" under the current security context."
                              : u"Server user '%1' is not a valid user in database '%2'.",
                          {context.user, catalog.File()->name}),
                   14);
}

bool MayUse(Context& context, Catalog& catalog, const ObjectMeta& object,
            std::u16string_view permission) {
    if (context.administrator || context.IsTemporary(catalog)) return true;
    Statement& s = context.store.Cached(
        "SELECT min(CASE WHEN p.denied THEN 0 ELSE 1 END) FROM " + catalog.Prefix() +
        "m_permission p, (SELECT ? AS id, ? AS schema_id) o WHERE p.action=? AND p.grantee IN " +
        Grantees(context, catalog) + " AND " + kCovers);
    s.BindAll(object.id, object.schemaId, permission);
    s.Step();
    const bool may = s.Integer(0) != 0;  // without a row NULL, which reads as 0
    s.Reset();
    return may;
}

void RequirePermission(Context& context, Catalog& catalog, const ObjectMeta& object,
                       std::u16string_view permission) {
    if (OfProcedure(context, catalog) || MayUse(context, catalog, object, permission)) return;
    throw SqlError(
        229,
        Format(
            context.server.major >= 9
                ? u"The %1 permission was denied on the object '%2', database '%3', schema '%4'."
                : u"%1 permission denied on object '%2', database '%3', owner '%4'.",
            {permission, object.name, catalog.File()->name, catalog.SchemaName(object.schemaId)}),
        14, 5);
}

void RequireAlter(Context& context, const Resolved& resolved, const ObjectName& name,
                  std::uint8_t state) {
    if (MayUse(context, *resolved.catalog, *resolved.object, u"ALTER")) return;
    throw SqlError(1088,
                   Format(u"Cannot find the object \"%1\" because it does not exist or you do not "
                          u"have permissions.",
                          {name.Text()}),
                   16, state);
}

void RequireAdministrator(const Context& context) {
    if (context.administrator) return;
    throw SqlError(15247, u"User does not have permission to perform this action.");
}

std::string VisibleObjects(Context& context, Catalog& catalog) {
    if (context.administrator || context.server.major < 9) return {};
    const std::string grantees = Grantees(context, catalog);
    const std::string permissions = catalog.Prefix() + "m_permission";
    return "SELECT o.id FROM " + catalog.Prefix() +
           "m_object o WHERE o.shipped OR EXISTS"
           " (SELECT 1 FROM " +
           permissions + " p WHERE NOT p.denied AND p.grantee IN " + grantees + " AND " + kCovers +
           " AND NOT EXISTS (SELECT 1 FROM " + permissions +
           " n, (SELECT p.action AS wanted) WHERE n.denied AND n.action=wanted AND n.grantee IN " +
           grantees +
           " AND (n.class=0 OR (n.class=3 AND n.id=o.schema_id) OR (n.class=1 AND n.id=o.id))))";
}

bool MaySee(Context& context, Catalog& catalog, const ObjectMeta& object) {
    const std::string visible = VisibleObjects(context, catalog);
    return visible.empty() || Among(visible, context.store, object.id) ||
           (object.parentId != 0 && Among(visible, context.store, object.parentId));
}

}  // namespace sandbox::engine
