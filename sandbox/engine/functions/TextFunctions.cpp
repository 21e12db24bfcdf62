// Functions on strings and binaries.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/DateTime.h"

namespace sandbox::engine {
namespace {

using Text = std::u16string_view;

// How units compare: collations that tell case apart take them as they are.
char16_t AsIs(char16_t unit) {
    return unit;
}
using Fold = char16_t (*)(char16_t);

Fold FoldOf(sqlite3_value* exact) {
    return Int(exact) != 0 ? AsIs : UpperUnit;
}

// One element of a LIKE pattern against one unit. Moves `p` behind the element.
bool MatchOne(Text pattern, std::size_t& p, char16_t c, Fold fold) {
    if (pattern[p] == u'_') {
        ++p;
        return true;
    }
    if (pattern[p] != u'[') return fold(pattern[p++]) == fold(c);
    std::size_t i = p + 1;
    const bool negated = i < pattern.size() && pattern[i] == u'^';
    if (negated) ++i;
    bool hit = false;
    const std::size_t first = i;
    while (i < pattern.size() && (pattern[i] != u']' || i == first)) {
        if (i + 2 < pattern.size() && pattern[i + 1] == u'-' && pattern[i + 2] != u']') {
            const char16_t u = fold(c);
            if (u >= fold(pattern[i]) && u <= fold(pattern[i + 2])) hit = true;
            i += 3;
        } else {
            if (fold(pattern[i]) == fold(c)) hit = true;
            ++i;
        }
    }
    p = i < pattern.size() ? i + 1 : i;
    return hit != negated;
}

// `quoted[i]`: the pattern's unit i was escaped and stands for itself.
bool Like(Text text, Text pattern, const std::vector<bool>& quoted, Fold fold) {
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t starP = Text::npos;
    std::size_t starT = 0;
    for (;;) {
        const bool plain = p < pattern.size() && !quoted.empty() && quoted[p];
        if (p < pattern.size() && pattern[p] == u'%' && !plain) {
            starP = ++p;
            starT = t;
            continue;
        }
        if (t < text.size() && p < pattern.size()) {
            std::size_t next = p;
            const bool ok = plain ? fold(pattern[next++]) == fold(text[t])
                                  : MatchOne(pattern, next, text[t], fold);
            if (ok) {
                p = next;
                ++t;
                continue;
            }
        } else if (p >= pattern.size()) {
            // Blanks at the end of the text do not matter.
            const bool blanks = text.find_first_not_of(u' ', t) == Text::npos;
            if (t >= text.size() || blanks) return true;
        } else if (t >= text.size() && starP == Text::npos) {
            return false;
        }
        if (starP == Text::npos || starT >= text.size()) return false;
        p = starP;
        t = ++starT;
    }
}

void LikeFunction(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const Text pattern = ReadText(a[1]);
    const Fold fold = FoldOf(a[3]);
    if (IsNull(a[2])) return sqlite3_result_int(c, Like(ReadText(a[0]), pattern, {}, fold) ? 1 : 0);
    const Text escape = ReadText(a[2]);
    if (escape.size() != 1) {
        throw SqlError(
            506, Format(u"The invalid escape character \"%1\" was specified in a LIKE predicate.",
                        {escape}));
    }
    std::u16string bare;
    std::vector<bool> quoted;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool escaped = pattern[i] == escape[0] && i + 1 < pattern.size();
        if (escaped) ++i;
        bare += pattern[i];
        quoted.push_back(escaped);
    }
    sqlite3_result_int(c, Like(ReadText(a[0]), bare, quoted, fold) ? 1 : 0);
}

void PatIndex(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    Text pattern = ReadText(a[0]);
    const Text text = ReadText(a[1]);
    const bool anywhere = !pattern.empty() && pattern.front() == u'%';
    if (anywhere) pattern.remove_prefix(1);
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (Like(text.substr(i), pattern, {}, FoldOf(a[2])))
            return sqlite3_result_int64(c, static_cast<std::int64_t>(i) + 1);
        if (!anywhere) break;
    }
    sqlite3_result_int(c, 0);
}

void Length(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    if (sqlite3_value_type(a[0]) == SQLITE_BLOB)
        return sqlite3_result_int(c, sqlite3_value_bytes(a[0]));
    Text s = ReadText(a[0]);
    while (!s.empty() && s.back() == u' ')
        s.remove_suffix(1);
    sqlite3_result_int64(c, static_cast<std::int64_t>(s.size()));
}

void DataLength(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    SqlType type = Unpack(Int(a[1]));
    Value value = ReadValue(a[0]);
    if (type.id == TypeId::SqlVariant) value = UnwrapVariant(value.text, type);
    std::int64_t size = MaxLength(type);
    if (type.id == TypeId::UniqueIdentifier) {
        size = 16;
    } else if (IsCharacter(type.id) || type.id == TypeId::Xml) {
        size = static_cast<std::int64_t>(IsCodePage(type.id) ? PageOf(type).ByteCount(value.text)
                                                             : value.text.size() * 2);
    } else if (IsBinary(type.id)) {
        size = static_cast<std::int64_t>(value.bytes.size());
    }
    sqlite3_result_int64(c, size);
}

template <typename Units>
Units Slice(Units s, std::int64_t start, std::int64_t length) {
    if (length < 0) {
        throw SqlError(537, u"Invalid length parameter passed to the LEFT or SUBSTRING function.");
    }
    std::int64_t end = start + length;
    start = std::max<std::int64_t>(start, 1);
    end = std::min<std::int64_t>(end, static_cast<std::int64_t>(s.size()) + 1);
    if (start >= end) return s.substr(0, 0);
    return s.substr(static_cast<std::size_t>(start - 1), static_cast<std::size_t>(end - start));
}

void Substring(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    if (sqlite3_value_type(a[0]) == SQLITE_BLOB) {
        return ReturnValue(c, Value::Blob(Slice(ReadValue(a[0]).bytes, Int(a[1]), Int(a[2]))));
    }
    ReturnText(c, Slice(ReadText(a[0]), Int(a[1]), Int(a[2])));
}

void Right(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const Text s = ReadText(a[0]);
    if (Int(a[1]) < 0) {
        throw SqlError(536, u"Invalid length parameter passed to the RIGHT function.");
    }
    const auto n = std::min<std::size_t>(static_cast<std::size_t>(Int(a[1])), s.size());
    ReturnText(c, s.substr(s.size() - n));
}

template <char16_t (*Map)(char16_t)>
void MapCase(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    std::u16string s(ReadText(a[0]));
    for (char16_t& unit : s)
        unit = Map(unit);
    ReturnText(c, s);
}

// what: 1 left, 2 right, 3 both
void Trim(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1])) return sqlite3_result_null(c);
    Text s = ReadText(a[1]);
    if ((Int(a[0]) & 1) != 0) {
        while (!s.empty() && s.front() == u' ')
            s.remove_prefix(1);
    }
    if ((Int(a[0]) & 2) != 0) {
        while (!s.empty() && s.back() == u' ')
            s.remove_suffix(1);
    }
    ReturnText(c, s);
}

std::size_t FindText(Text haystack, Text needle, std::size_t from, Fold fold) {
    if (needle.empty()) return Text::npos;
    for (std::size_t i = from; i + needle.size() <= haystack.size(); ++i) {
        std::size_t k = 0;
        while (k < needle.size() && fold(haystack[i + k]) == fold(needle[k]))
            ++k;
        if (k == needle.size()) return i;
    }
    return Text::npos;
}

void Replace(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const Text s = ReadText(a[0]);
    const Text what = ReadText(a[1]);
    const Text with = ReadText(a[2]);
    std::u16string out;
    std::size_t at = 0;
    for (;;) {
        const std::size_t found = FindText(s, what, at, FoldOf(a[3]));
        out += s.substr(at, found == Text::npos ? Text::npos : found - at);
        if (found == Text::npos) break;
        out += with;
        at = found + what.size();
    }
    ReturnText(c, out);
}

void CharIndex(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const auto from = static_cast<std::size_t>(std::max<std::int64_t>(Int(a[2]), 1) - 1);
    const std::size_t found = FindText(ReadText(a[1]), ReadText(a[0]), from, FoldOf(a[3]));
    sqlite3_result_int64(c, found == Text::npos ? 0 : static_cast<std::int64_t>(found) + 1);
}

void Replicate(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || Int(a[1]) < 0) return sqlite3_result_null(c);
    const Text s = ReadText(a[0]);
    // Only the max types grow past 8,000 bytes.
    const std::int64_t most = Int(a[2]);
    std::u16string out;
    for (std::int64_t i = 0; i < Int(a[1]); ++i) {
        if (most >= 0 && static_cast<std::int64_t>(out.size() + s.size()) > most) {
            out += s.substr(0, static_cast<std::size_t>(most) - out.size());
            break;
        }
        if (s.empty()) break;
        out += s;
    }
    ReturnText(c, out);
}

void CharOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || Int(a[0]) < 0 || Int(a[0]) > 255) return sqlite3_result_null(c);
    const char byte = static_cast<char>(Int(a[0]));
    ReturnText(c, CodePage::Of(FactsOf(context.current->collation).codePage).Keep({&byte, 1}));
}

void NCharOf(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || Int(a[0]) < 0 || Int(a[0]) > 0xFFFF) return sqlite3_result_null(c);
    const auto unit = static_cast<char16_t>(Int(a[0]));
    ReturnText(c, Text(&unit, 1));
}

void Ascii(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || ReadText(a[0]).empty()) return sqlite3_result_null(c);
    const CodePage& page = CodePage::Of(FactsOf(context.current->collation).codePage);
    const std::string bytes = page.Bytes(ReadText(a[0]).substr(0, 1));
    sqlite3_result_int(c, static_cast<unsigned char>(bytes.front()));
}

void Unicode(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || ReadText(a[0]).empty()) return sqlite3_result_null(c);
    sqlite3_result_int(c, ReadText(a[0]).front());
}

void Str(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const auto length = static_cast<std::size_t>(std::clamp<std::int64_t>(Int(a[1]), 0, 8000));
    const auto decimals = static_cast<int>(std::clamp<std::int64_t>(Int(a[2]), 0, 16));
    char buffer[512];
    static_cast<void>(
        std::snprintf(buffer, sizeof buffer, "%.*f", decimals, sqlite3_value_double(a[0])));
    std::u16string text = Widen(buffer);
    if (text.size() > length) {
        const std::size_t point = text.find(u'.');
        if (point != std::u16string::npos && point <= length) {
            static_cast<void>(
                std::snprintf(buffer, sizeof buffer, "%.*f",
                              point + 1 >= length ? 0 : static_cast<int>(length - point - 1),
                              sqlite3_value_double(a[0])));
            text = Widen(buffer);
        }
        if (text.size() > length) text.assign(length, u'*');
    }
    text.insert(0, length - std::min(length, text.size()), u' ');
    ReturnText(c, text);
}

void Reverse(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    std::u16string s(ReadText(a[0]));
    std::reverse(s.begin(), s.end());
    ReturnText(c, s);
}

void Stuff(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const Text s = ReadText(a[0]);
    const std::int64_t start = Int(a[1]);
    const std::int64_t length = Int(a[2]);
    if (start < 1 || length < 0 || start > static_cast<std::int64_t>(s.size()))
        return sqlite3_result_null(c);
    std::u16string out(s.substr(0, static_cast<std::size_t>(start - 1)));
    if (!IsNull(a[3])) out += ReadText(a[3]);
    const auto rest = static_cast<std::size_t>(start - 1 + length);
    if (rest < s.size()) out += s.substr(rest);
    ReturnText(c, out);
}

void QuoteName(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const Text quote = ReadText(a[1]);
    const char16_t q = quote.empty() ? u'[' : quote.front();
    const char16_t close = q == u'[' || q == u']' ? u']' : q;
    std::u16string out(1, q == u']' ? u'[' : q);
    for (const char16_t unit : ReadText(a[0])) {
        out += unit;
        if (unit == close) out += close;
    }
    ReturnText(c, out + close);
}

void BinaryConcat(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    ReturnValue(c, Value::Blob(ReadValue(a[0]).bytes + ReadValue(a[1]).bytes));
}

void IsNumeric(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_int(c, 0);
    const Value text = ReadValue(a[0]);
    const SqlType from = NVarCharType(-1);
    for (const TypeId to : {TypeId::Float, TypeId::Money}) {
        try {
            if (text.text.empty()) break;
            Convert(text, from, Plain(to), Purpose::Cast);
            return sqlite3_result_int(c, 1);
        } catch (const SqlError&) {
        }
    }
    sqlite3_result_int(c, 0);
}

void IsDate(Context& context, sqlite3_context* c, sqlite3_value** a) {
    Moment m;
    const bool ok = !IsNull(a[0]) && !ReadText(a[0]).empty() &&
                    ParseMoment(ReadText(a[0]), context.options.dmy, m) == ParseResult::Ok &&
                    FromMoment(m, Plain(TypeId::DateTime)).has_value();
    sqlite3_result_int(c, ok ? 1 : 0);
}

constexpr FunctionEntry kTextFunctions[] = {
    {"ms_like", 4, Purity::Pure, LikeFunction},
    {"ms_patindex", 3, Purity::Pure, PatIndex},
    {"ms_len", 1, Purity::Pure, Length},
    {"ms_datalength", 2, Purity::Pure, DataLength},
    {"ms_substring", 3, Purity::Pure, Substring},
    {"ms_right", 2, Purity::Pure, Right},
    {"ms_upper", 1, Purity::Pure, MapCase<UpperUnit>},
    {"ms_lower", 1, Purity::Pure, MapCase<LowerUnit>},
    {"ms_trim", 2, Purity::Pure, Trim},
    {"ms_replace", 4, Purity::Pure, Replace},
    {"ms_charindex", 4, Purity::Pure, CharIndex},
    {"ms_replicate", 3, Purity::Pure, Replicate},
    {"ms_char", 1, Purity::Pure, CharOf},
    {"ms_nchar", 1, Purity::Pure, NCharOf},
    {"ms_ascii", 1, Purity::Pure, Ascii},
    {"ms_unicode", 1, Purity::Pure, Unicode},
    {"ms_str", 3, Purity::Pure, Str},
    {"ms_reverse", 1, Purity::Pure, Reverse},
    {"ms_stuff", 4, Purity::Pure, Stuff},
    {"ms_quotename", 2, Purity::Pure, QuoteName},
    {"ms_bincat", 2, Purity::Pure, BinaryConcat},
    {"ms_isnumeric", 1, Purity::Pure, IsNumeric},
    {"ms_isdate", 1, Purity::Pure, IsDate},
};

}  // namespace

void RegisterTextFunctions(Context& context) {
    RegisterTable(context, kTextFunctions, std::size(kTextFunctions));
}

}  // namespace sandbox::engine
