// Views and procedures.
#include "sandbox/engine/catalog/CatalogWriter.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/execution/NewObject.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {

namespace {

// CREATE and ALTER of a view ("V") or a procedure ("P"): ALTER keeps the number.
template <class Definition>
NewObject MakeModule(Catalog& catalog, CatalogWriter& writer, const Definition& stmt, int schema,
                     const char16_t* type) {
    const auto existing = catalog.Find(stmt.name.schema, stmt.name.name);
    NewObject object;
    object.id = existing ? existing->id : catalog.File()->NextObjectId();
    if (stmt.alter) {
        if (!existing || existing->type != type) ThrowInvalidObject(stmt.name.Text());
        writer.RemoveObject(existing->id);
    } else {
        writer.CheckName(stmt.name.name, schema);
    }
    object.schemaId = schema;
    object.name = stmt.name.name;
    object.type = type;
    object.text = stmt.text;
    return object;
}

}  // namespace

void Executor::CreateView(const CreateViewStmt& stmt) {
    Catalog& catalog = TargetCatalog(context_, stmt.name);
    if (!stmt.name.database.empty()) {
        throw SqlError(
            166,
            u"'CREATE/ALTER VIEW' does not allow specifying the database name as a prefix to the "
            u"object name.",
            15);
    }
    const int schema = NewSchema(catalog, stmt.name);
    Translator translator(context_);
    const TranslatedQuery query = translator.Select(*stmt.query);
    if (!query.variables.empty() || !translator.params.empty()) {
        for (const ParamSource& p : translator.params) {
            if (p.kind == ParamSource::Kind::Variable) {
                throw SqlError(
                    137, Format(u"Must declare the scalar variable \"%1\".", {p.variable}), 15);
            }
        }
    }
    if (!stmt.columns.empty() && stmt.columns.size() != query.columns.size()) {
        throw SqlError(stmt.columns.size() < query.columns.size() ? 8158 : 8159,
                       Format(u"'%1' has %2 columns than were specified in the column list.",
                              {stmt.name.name,
                               stmt.columns.size() < query.columns.size() ? u"more" : u"fewer"}));
    }
    Atomically([&] {
        CatalogWriter writer(context_, catalog);
        NewObject object = MakeModule(catalog, writer, stmt, schema, u"V");
        object.bound = stmt.schemaBinding;
        writer.AddObject(object);
        std::vector<std::u16string> names;
        for (std::size_t i = 0; i < query.columns.size(); ++i) {
            const ColumnInfo& info = query.columns[i];
            ColumnMeta c;
            c.id = static_cast<int>(i) + 1;
            c.name = stmt.columns.empty() ? info.name : stmt.columns[i];
            if (c.name.empty()) {
                throw SqlError(
                    4511,
                    Format(u"Create View or Function failed because no column name was specified "
                           u"for column %1.",
                           {ToText(c.id)}));
            }
            for (const std::u16string& other : names) {
                if (SameName(other, c.name)) {
                    throw SqlError(
                        4506,
                        Format(u"Column names in each view or function must be unique. Column "
                               u"name '%1' in view or function '%2' is specified more than "
                               u"once.",
                               {c.name, stmt.name.name}));
                }
            }
            names.push_back(c.name);
            c.type = info.type;
            c.nullable = info.nullable;
            c.identity = info.identity;
            c.computed = false;
            writer.AddColumn(object.id, c);
        }
        for (const auto& [owner, id] : translator.used) {
            if (owner == &catalog) writer.AddDependency(object.id, id);
        }
        catalog.Changed();
        context_.BumpGeneration();
    });
    Done();
}

void Executor::CreateProcedure(const CreateProcedureStmt& stmt) {
    RefuseTemporary(stmt.name);
    Catalog& catalog = context_.Current();
    const int schema = NewSchema(catalog, stmt.name);
    for (const Parameter& p : stmt.parameters) {
        if (!p.type.known) {
            throw SqlError(2715,
                           Format(u"Column, parameter, or variable #1: Cannot find data type %1.",
                                  {p.type.name}));
        }
        for (const Parameter& other : stmt.parameters) {
            if (&other != &p && SameName(other.name, p.name)) {
                throw SqlError(
                    134,
                    Format(u"The variable name '%1' has already been declared. Variable names must "
                           u"be unique within a query batch or stored procedure.",
                           {p.name}),
                    15);
            }
        }
    }
    Atomically([&] {
        CatalogWriter writer(context_, catalog);
        NewObject object = MakeModule(catalog, writer, stmt, schema, u"P");
        writer.AddObject(object);
        catalog.Changed();
        context_.BumpGeneration();
    });
    Done();
}

}  // namespace sandbox::engine
