// The types of T-SQL: names, numbers, sizes, precedence, and how SQLite stores each.
//
//   bit, integers              INTEGER
//   money, smallmoney          INTEGER, in 1/10,000
//   decimal(p <= 18, s)        INTEGER, the value times 10^s
//   decimal(p > 18, s)         BLOB of 16 bytes: the value times 10^s plus 2^127, big-endian
//   float, real                REAL
//   datetime                   INTEGER, 1/300 s since 1900-01-01
//   smalldatetime              INTEGER, minutes since 1900-01-01
//   date                       INTEGER, days since 0001-01-01
//   time, datetime2            INTEGER, 100 ns
//   datetimeoffset             TEXT of five units: the UTC ticks (biased, high unit first), offset
//   character types, xml       TEXT, UTF-16LE
//   binary types, timestamp    BLOB
//   uniqueidentifier           BLOB of 16 bytes in the order in which the server compares them
//   sql_variant                TEXT: the packed type (four units), then the value's encoding
//
// Each of them compares, sorts and hashes in SQLite as the server would, given the collations
// "ms" and its kin (text), "dto" (datetimeoffset) and "var" (sql_variant).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sandbox/Backend.h"
#include "sandbox/text/CodePages.h"
#include "sandbox/text/Collations.h"

namespace sandbox::engine {

enum class Rep { Int, Real, Text, Blob };

Rep RepOf(const SqlType& type);
// The collation that values of the type need in SQLite; nullptr for none: "ms", "ms_cs", "ms_bin",
// "ms_bin2" or, of binary collations of a code page, "ms_b1252" and so on.
const char* CollationOf(const SqlType& type);

// The binary collation of each code page.
struct PageCollation {
    int page;
    const char* name;
};
inline constexpr PageCollation kPageCollations[] = {
    {437, "ms_b437"},    {850, "ms_b850"},   {874, "ms_b874"},   {932, "ms_b932"},
    {936, "ms_b936"},    {949, "ms_b949"},   {950, "ms_b950"},   {1250, "ms_b1250"},
    {1251, "ms_b1251"},  {1252, "ms_b1252"}, {1253, "ms_b1253"}, {1254, "ms_b1254"},
    {1255, "ms_b1255"},  {1256, "ms_b1256"}, {1257, "ms_b1257"}, {1258, "ms_b1258"},
    {65001, "ms_b65001"}};

bool IsCharacter(TypeId id);  // char ... ntext
bool IsUnicode(TypeId id);    // nchar, nvarchar, ntext, xml
bool IsBinary(TypeId id);     // binary ... image, timestamp
bool IsInteger(TypeId id);    // bit ... bigint
bool IsDecimal(TypeId id);
bool IsMoney(TypeId id);
bool IsApproximate(TypeId id);
bool IsNumber(TypeId id);    // any of the four above
bool IsDateTime(TypeId id);  // datetime ... datetimeoffset
bool IsLob(TypeId id);       // text, ntext, image, xml: not comparable
bool IsFixed(TypeId id);     // char, nchar, binary: padded

// Higher wins when two types meet.
int Precedence(TypeId id);

// One number that holds a type, for arguments of SQL functions.
std::int64_t Pack(const SqlType& type);
SqlType Unpack(std::int64_t packed);

struct TypeFacts {
    std::u16string_view name;
    int systemType;  // xtype, system_type_id
    int userType;    // xusertype, user_type_id
    int legacyType;  // systypes.type
    TypeId id;
};
const TypeFacts& Facts(TypeId id);
std::u16string_view TypeName(TypeId id);
// By name, case-insensitive; sysname is nvarchar(128).
std::optional<SqlType> TypeByName(std::u16string_view name);

int MaxLength(const SqlType& type);  // bytes as sys.columns.max_length has them
int PrecisionOf(const SqlType& type);
int ScaleOf(const SqlType& type);
std::int64_t IntegerMin(TypeId id);
std::int64_t IntegerMax(TypeId id);

// The decimal that holds every value of a numeric type.
SqlType AsDecimal(const SqlType& type);
SqlType DecimalType(int precision, int scale);
SqlType VarCharType(int length);
SqlType NVarCharType(int length);
inline SqlType Plain(TypeId id) {
    return SqlType{id, 0, 0, 0};
}

// The type in which both can be compared or united.
SqlType CommonType(const SqlType& a, const SqlType& b);

// The same type, held in the same way: two collations of one code page are alike here.
bool SameType(const SqlType& a, const SqlType& b);

bool IsCodePage(TypeId id);  // char, varchar, text
const CodePage& PageOf(const SqlType& type);
bool SamePage(const SqlType& a, const SqlType& b);
SqlType WithCollation(SqlType type, CollationId collation);

}  // namespace sandbox::engine
