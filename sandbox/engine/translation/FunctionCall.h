// What the tables of functions share: a call with its bound arguments, and who translates it.
#pragma once

#include <initializer_list>
#include <string>
#include <unordered_map>
#include <vector>

#include "sandbox/engine/translation/Translator.h"

namespace sandbox::engine {

inline const SqlType kSysnameType = NVarCharType(128);

// As the tables of plain functions call them.
inline constexpr TypeId N = TypeId::NVarChar;
inline constexpr TypeId I = TypeId::Int;

struct FunctionCall {
    Translator& t;
    const Expr& expr;
    std::vector<Bound>& args;

    std::string Text(std::size_t i) const { return t.AsText(args[i]); }
    std::string As(std::size_t i, const SqlType& type) const { return t.Converted(args[i], type); }
    // Whether the texts are searched under a collation that tell case apart: "0" or "1".
    std::string Exact(std::initializer_list<std::size_t> texts) const {
        std::vector<Bound> values;
        for (const std::size_t i : texts)
            values.push_back(args[i]);
        return t.ExactSearch(values);
    }
    std::string Pack(std::size_t i) const { return std::to_string(engine::Pack(args[i].type)); }
};

struct TranslatedFunction {
    int least, most;  // arguments
    Bound (*handler)(FunctionCall&);
};
using FunctionTable = std::unordered_map<std::u16string, TranslatedFunction>;  // by folded name

// One table for each topic.
const FunctionTable& TextFunctionTable();
const FunctionTable& DateFunctionTable();
const FunctionTable& MetadataFunctionTable();  // and what a session knows of itself

inline Bound Make(std::string sql, const SqlType& type, bool nullable = true) {
    Bound b;
    b.sql = std::move(sql);
    b.type = type;
    b.nullable = nullable;
    return b;
}

// Functions of plain form: f(args as given types) -> type.
template <const char* Name, TypeId Result, TypeId... Parameters>
Bound Plainly(FunctionCall& c) {
    const TypeId types[] = {Parameters..., TypeId::Int};
    std::string sql = std::string(Name) + "(";
    for (std::size_t i = 0; i < sizeof...(Parameters); ++i) {
        if (i > 0) sql += ",";
        if (i >= c.args.size()) {
            sql += "NULL";
        } else if (types[i] == TypeId::NVarChar) {
            sql += c.Text(i);
        } else {
            sql += c.As(i, Plain(types[i]));
        }
    }
    const SqlType result = Result == TypeId::NVarChar ? kSysnameType : Plain(Result);
    return Make(sql + ")", result);
}

}  // namespace sandbox::engine
