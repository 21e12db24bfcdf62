// Parts that the JSON of several commands has in common. docs/results.schema.json describes the
// whole; JsonVersion grows when a reader of an older version could misread it.
#pragma once

#include <string>
#include <vector>

#include "cli/CompareResults.h"
#include "cli/JsonWriter.h"

namespace quillon {

inline constexpr int JsonVersion = 1;

// Members of an open object: schema and version, road, databases, start, looser equality.
void WriteCommonHead(JsonWriter& json, const char* schema, bool byServer,
                     const DatabaseOptions::Databases& databases, const Stopwatch& watch,
                     const std::string& loosened);
// Names, types, and whether it belongs to the key.
void WriteColumn(JsonWriter& json, const ComparedColumn& column);
// A member: an array of texts.
void WriteSentences(JsonWriter& json, const char* name, const std::vector<std::string>& sentences);

// The whole object of a comparison, with those of its tables that are given.
void WriteResults(JsonWriter& json, const CompareResults& results,
                  const std::vector<const ResultLine*>& lines);

}  // namespace quillon
