// What is chosen for a table, on the command line or by a template, held against the catalogs.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/CatalogSurvey.h"
#include "cli/Comparison.h"

namespace quillon {

// Adds what the template of a request chooses for those of the tables for which the command line
// chooses nothing of the kind. `hasKey`: of which tables the command line names the key by its
// columns.
void TakePicks(const std::vector<std::u16string>& tables, ComparisonRequest& request,
               const std::function<bool(const std::u16string& table)>& hasKey = {});

// Each of these throws CLI::ValidationError that names what is not there, with what is.
//
// The facts of a table that the choice of an option names.
const TableFacts& FactsFor(const FactsByTable& facts, const std::vector<std::u16string>& tables,
                           const std::u16string& table, const char* option);
// Of database 1; primary keys count as unique indexes.
const QuillonLib::IndexFacts& RequireUniqueIndex(const QuillonLib::ObjectFacts& facts,
                                                 const std::u16string& table,
                                                 const std::u16string& name,
                                                 const QuillonLib::Database& database);
// The columns that both databases have, as database 1 spells them, each once. Databases whose names
// differ in their letters' case alone have one column where that is how they are compared.
enum class Letters { Exactly, AnyCase };
std::vector<std::u16string> RequireColumns(const TableFacts& facts, const std::u16string& table,
                                           const std::vector<std::u16string>& names,
                                           Letters letters);

[[noreturn]] void ThrowNotCompared(const std::vector<std::u16string>& tables,
                                   const std::u16string& table, const char* option);
[[noreturn]] void ThrowTwoChoices(const char* option, const std::u16string& table);

}  // namespace quillon
