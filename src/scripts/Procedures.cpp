#include "scripts/Procedures.h"

#include "catalog/ColumnObject.h"
#include "compare/TableDifference.h"
#include "core/Text.h"
#include "scripts/ScriptColumns.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view Comma = u", ";
constexpr std::u16string_view And = u" AND ";

bool IsOneOf(const std::u16string& dataType, std::initializer_list<std::u16string_view> names) {
    for (const std::u16string_view name : names) {
        if (dataType == name) return true;
    }
    return false;
}

std::u16string SizeOf(const ColumnObject& column) {
    if (IsOneOf(column.DataType(),
                {u"char", u"nchar", u"varchar", u"nvarchar", u"binary", u"varbinary"})) {
        return column.Length() == -1 ? u" (max)" : u" (" + ToText(column.Length()) + u")";
    }
    if (IsOneOf(column.DataType(), {u"decimal", u"numeric"})) {
        return u" (" + ToText(column.NumericPrecision()) + u"," + ToText(column.NumericScale()) +
               u")";
    }
    return {};
}

void AppendJoined(std::u16string& list, std::u16string_view separator, const std::u16string& item) {
    if (!list.empty()) list.append(separator);
    list.append(item);
}

struct Clauses {
    std::u16string Parameters;
    std::u16string KeyParameters;
    std::u16string KeyPredicate;
    std::u16string Assignments;
    std::u16string Columns;
    std::u16string Values;
};

Clauses CollectClauses(const ColumnObjects& columns, enShowOptions enOptions) {
    Clauses clauses;
    std::int64_t number = 0;
    for (const auto& column : ScriptColumns(columns, enOptions)) {
        const std::u16string name = u"[" + column->Name() + u"]";
        const std::u16string parameter = u"@P" + ToText(++number);
        const std::u16string declaration =
            parameter + u" AS " + column->DataType() + SizeOf(*column);
        AppendJoined(clauses.Parameters, Comma, declaration);
        AppendJoined(clauses.Columns, Comma, name);
        AppendJoined(clauses.Values, Comma, parameter);
        if (column->PrimaryKey()) {
            AppendJoined(clauses.KeyParameters, Comma, declaration);
            AppendJoined(clauses.KeyPredicate, And, name + u"=" + parameter);
        } else {
            AppendJoined(clauses.Assignments, Comma, name + u"=" + parameter);
        }
    }
    return clauses;
}

std::u16string Definition(std::u16string_view name, const std::u16string& parameters,
                          const std::u16string& body) {
    const std::u16string procedure(name);
    return u"IF EXISTS (select * from dbo.sysobjects where id = object_id(N'[dbo].[" + procedure +
           u"]') and OBJECTPROPERTY(id, N'IsProcedure') = 1) drop procedure [dbo].[" + procedure +
           u"]\r\n"
           u"GO\r\n"
           u"CREATE PROCEDURE " +
           procedure + u"(" + parameters + u") AS\r\n" + body +
           u"\r\n"
           u"GO\r\n";
}

}  // namespace

ProcedureDefinitions DefineProcedures(const TableDifference& obTableDifference,
                                      enShowOptions enOptions) {
    const std::u16string& table = obTableDifference.Name();
    const Clauses clauses = CollectClauses(*obTableDifference.Columns(), enOptions);
    return {Definition(UpdateProcedure, clauses.Parameters,
                       u"UPDATE " + table + u" SET " + clauses.Assignments + u" WHERE " +
                           clauses.KeyPredicate),
            Definition(InsertProcedure, clauses.Parameters,
                       u"INSERT INTO " + table + u" (" + clauses.Columns + u") VALUES (" +
                           clauses.Values + u")"),
            Definition(DeleteProcedure, clauses.KeyParameters,
                       u"DELETE FROM " + table + u" WHERE " + clauses.KeyPredicate)};
}

std::u16string CallOf(std::u16string_view procedure) {
    return std::u16string(u"EXEC ").append(procedure).append(u" ");
}

std::u16string DropOf(std::u16string_view procedure) {
    return std::u16string(u"DROP PROCEDURE ").append(procedure);
}

}  // namespace QuillonLib
