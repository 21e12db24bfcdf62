#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {

TypedValue Executor::ArgumentValue(const ExecArgument& a) {
    if (a.kind == ExecArgument::Kind::Literal) return DatabaseLiteral({a.value, a.type, a.typed});
    const std::u16string folded = FoldName(a.variable);
    if (folded.starts_with(u"@@")) {
        Expr e;
        e.kind = ExprKind::Variable;
        e.name.push_back(a.variable);
        return Evaluate(e);
    }
    const Variable* v = context_.frame->Find(folded);
    if (v == nullptr) {
        throw SqlError(137, Format(u"Must declare the scalar variable \"%1\".", {a.variable}), 15);
    }
    return {v->value, v->type, true};
}

void Executor::Exec(const ExecStmt& stmt) {
    if (stmt.dynamic) {
        RunDynamic(EvaluateText(*stmt.dynamic), nullptr);
        return;
    }
    ObjectName name = stmt.procedure;
    if (!stmt.procedureVariable.empty()) {
        const Variable* v = context_.frame->Find(FoldName(stmt.procedureVariable));
        if (v == nullptr) {
            throw SqlError(
                137, Format(u"Must declare the scalar variable \"%1\".", {stmt.procedureVariable}),
                15);
        }
        name = {};
        name.name = v->value.text;
    }
    Catalog* catalog = nullptr;
    std::optional<ObjectMeta> object;
    if (name.server.empty() && name.database.empty()) {
        catalog = &context_.Current();
        object = catalog->Find(name.schema, name.name);
    } else {
        const Resolved r = context_.Resolve(name);
        catalog = r.catalog;
        object = r.object;
    }
    const ProcedurePtr procedure =
        object && object->type == u"P" ? catalog->Procedure(object->id) : nullptr;
    if (!procedure) {
        if (SystemProcedure(FoldName(name.name), stmt)) return;
        throw SqlError(2812, Format(u"Could not find stored procedure '%1'.", {name.Text()}), 16,
                       62);
    }
    RequirePermission(context_, *catalog, *object, u"EXECUTE");
    Call(*procedure, *catalog, stmt);
}

void Executor::BindArguments(const ProcedureMeta& procedure, const ExecStmt& stmt, Frame& frame) {
    const std::vector<Parameter>& parameters = procedure.definition->parameters;
    if (stmt.arguments.size() > parameters.size()) {
        throw SqlError(parameters.empty() ? 8146 : 8144,
                       parameters.empty()
                           ? Format(u"Procedure %1 has no parameters and arguments were supplied.",
                                    {procedure.name})
                           : Format(u"Procedure or function %1 has too many arguments specified.",
                                    {procedure.name}),
                       16, 2);
    }
    std::vector<const ExecArgument*> given(parameters.size(), nullptr);
    bool named = false;
    for (std::size_t i = 0; i < stmt.arguments.size(); ++i) {
        const ExecArgument& a = stmt.arguments[i];
        std::size_t at = i;
        if (!a.name.empty()) {
            named = true;
            at = parameters.size();
            for (std::size_t k = 0; k < parameters.size(); ++k) {
                if (SameName(parameters[k].name, a.name)) at = k;
            }
            if (at == parameters.size()) {
                throw SqlError(8145, Format(u"%1 is not a parameter for procedure %2.",
                                            {a.name, procedure.name}));
            }
        } else if (named) {
            throw SqlError(
                119,
                Format(u"Must pass parameter number %1 and subsequent parameters as '@name = "
                       u"value'. After the form '@name = value' has been used, all subsequent "
                       u"parameters must be passed in the form '@name = value'.",
                       {ToText(static_cast<std::int64_t>(i) + 1)}),
                15);
        }
        if (given[at] != nullptr) {
            throw SqlError(8143, Format(u"Parameter '%1' was supplied multiple times.",
                                        {parameters[at].name}));
        }
        given[at] = &a;
    }
    frame.variables.reserve(parameters.size());
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const Parameter& p = parameters[i];
        TypedValue value;
        if (given[i] == nullptr || given[i]->kind == ExecArgument::Kind::Default) {
            if (!p.hasDefault) {
                throw SqlError(
                    201,
                    Format(u"Procedure or function '%1' expects parameter '%2', which was not "
                           u"supplied.",
                           {procedure.name, p.name}),
                    16, 4);
            }
            value = DatabaseLiteral({p.value, p.valueType, p.valueTyped});
        } else {
            if (given[i]->output && !p.output) {
                throw SqlError(
                    8162, Format(u"The formal parameter \"%1\" was not declared as an OUTPUT "
                                 u"parameter, but the actual parameter passed in requested output.",
                                 {p.name}));
            }
            value = ArgumentValue(*given[i]);
        }
        Variable v;
        v.name = FoldName(p.name);
        v.type = DatabaseType(p.type.type);
        if (value.typed && !value.value.IsNull()) {
            if (SameType(value.type, v.type)) {
                v.value = std::move(value.value);
            } else {
                CheckConvertible(value.type, v.type, false);
                v.value = Convert(value.value, value.type, v.type, Purpose::Argument);
            }
        }
        frame.variables.push_back(std::move(v));
    }
}

namespace {

void RefuseDeepNesting(int nesting) {
    if (nesting < 32) return;
    throw SqlError(
        217,
        u"Maximum stored procedure, function, trigger, or view nesting level exceeded (limit "
        u"32).");
}

}  // namespace

void Executor::Call(const ProcedureMeta& procedure, Catalog& catalog, const ExecStmt& stmt) {
    RefuseDeepNesting(nesting_);
    Frame frame;
    BindArguments(procedure, stmt, frame);
    // The definition lives as long as the call, even when the call drops its own procedure.
    const std::shared_ptr<CreateProcedureStmt> definition = procedure.definition;
    const std::u16string name = procedure.name;
    frame.inProcedure = true;
    frame.procedureId = procedure.id;
    frame.procedure = name;
    returnValue_ = 0;
    const int depth = context_.transactionDepth;
    RunScope(definition->body, frame, catalog.File());
    for (std::size_t i = 0; i < stmt.arguments.size(); ++i) {
        const ExecArgument& a = stmt.arguments[i];
        if (!a.output || a.kind != ExecArgument::Kind::Variable) continue;
        const std::u16string formal = a.name.empty() ? frame.variables[i].name : FoldName(a.name);
        const Variable* v = frame.Find(formal);
        if (v != nullptr) Assign(FoldName(a.variable), {v->value, v->type, true});
    }
    if (!stmt.returnVariable.empty()) {
        Assign(FoldName(stmt.returnVariable), {Value::Int(returnValue_), Plain(TypeId::Int), true});
    }
    CheckTransactionCount(depth, name);
    if (nesting_ == 0) sink_.StatementDone(std::nullopt, false, false);
}

void Executor::RunScope(const std::vector<StmtPtr>& statements, Frame& frame,
                        const DatabasePtr& home) {
    Frame* const caller = context_.frame;
    const DatabasePtr database = context_.current;
    const SetOptions options = context_.options;
    if (home != database) context_.Use(home);
    context_.frame = &frame;
    ++nesting_;
    const auto leave = [&] {
        --nesting_;
        DropTemporaryTables(frame);
        context_.frame = caller;
        if (!context_.options.SameIdentityInsert(options)) context_.BumpGeneration();
        context_.options = options;
        const DatabasePtr last = context_.current;
        if (last == database || database->dropped) return;
        context_.Use(database);
        if (last != home) sink_.DatabaseChanged(last->name, database->name);
    };
    try {
        RunAll(statements);
    } catch (const ScopeEnded&) {  // the caller goes on
    } catch (...) {
        leave();
        throw;
    }
    leave();
}

void Executor::CheckTransactionCount(int before, const std::u16string& procedure) {
    const int now = context_.transactionDepth;
    if (now == before) return;
    SqlError error(
        266,
        Format(context_.server.major >= 10
                   ? u"Transaction count after EXECUTE indicates a mismatching number of BEGIN and "
                     u"COMMIT statements. Previous count = %1, current count = %2."
                   : u"Transaction count after EXECUTE indicates that a COMMIT or ROLLBACK "
                     u"TRANSACTION statement is missing. Previous count = %1, current count = %2.",
               {ToText(before), ToText(now)}),
        16, 2);
    error.message.procedure = procedure;
    error.message.line = 0;
    throw SqlError(error);
}

void Executor::RunDynamic(std::u16string_view text, Frame* parameters) {
    RefuseDeepNesting(nesting_);
    // The text outlives its statements, which refer to it.
    const std::u16string own(text);
    std::vector<StmtPtr> statements;
    try {
        statements = Parser(own, context_.options.quotedIdentifier).ParseBatch();
    } catch (SqlError& e) {
        e.reach = ErrorReach::Statement;  // of the text alone; the caller goes on
        throw;
    }
    Frame frame;
    const int depth = context_.transactionDepth;
    RunScope(statements, parameters ? *parameters : frame, context_.current);
    CheckTransactionCount(depth, {});
}

// sp_executesql N'statement', N'@a int, @b int OUTPUT', 1, @b OUTPUT
void Executor::ExecuteSql(const ExecStmt& stmt) {
    if (stmt.arguments.empty()) {
        throw SqlError(
            201,
            u"Procedure or function 'sp_executesql' expects parameter '@statement', which was not "
            u"supplied.",
            16, 10);
    }
    const TypedValue text = ArgumentValue(stmt.arguments[0]);
    if (!text.typed || !IsUnicode(text.type.id)) {
        throw SqlError(214,
                       u"Procedure expects parameter '@statement' of type 'ntext/nchar/nvarchar'.",
                       16, 2);
    }
    Frame frame;
    std::shared_ptr<CreateProcedureStmt> header;
    if (stmt.arguments.size() > 1) {
        const TypedValue list = ArgumentValue(stmt.arguments[1]);
        if (list.typed && !list.value.text.empty()) {
            const std::u16string definition =
                u"CREATE PROCEDURE sp_executesql " + list.value.text + u" AS RETURN";
            std::vector<StmtPtr> parsed = Parser(definition).ParseBatch();
            header.reset(static_cast<CreateProcedureStmt*>(parsed.front().release()));
            ProcedureMeta meta;
            meta.name = u"sp_executesql";
            meta.definition = header;
            ExecStmt rest(stmt.line);
            for (std::size_t i = 2; i < stmt.arguments.size(); ++i)
                rest.arguments.push_back(stmt.arguments[i]);
            BindArguments(meta, rest, frame);
        }
    }
    RunDynamic(text.value.text, &frame);
    for (std::size_t i = 2; i < stmt.arguments.size(); ++i) {
        const ExecArgument& a = stmt.arguments[i];
        if (!a.output || a.kind != ExecArgument::Kind::Variable || i - 2 >= frame.variables.size())
            continue;
        const Variable* v = a.name.empty() ? &frame.variables[i - 2] : frame.Find(FoldName(a.name));
        if (v != nullptr) Assign(FoldName(a.variable), {v->value, v->type, true});
    }
    if (!stmt.returnVariable.empty()) {
        Assign(FoldName(stmt.returnVariable), {Value::Int(0), Plain(TypeId::Int), true});
    }
}

}  // namespace sandbox::engine
