#include "sandbox/text/Collations.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace sandbox {

namespace {

// Which versions of a designator there are.
constexpr unsigned kV80 = 1, kV90 = 2, kV100 = 4, kV140 = 8;
constexpr unsigned kOld = kV80 | kV100;

struct Designator {
    std::u16string_view name;
    std::uint32_t lcid;
    int codePage;
    unsigned versions;
};

constexpr Designator kDesignators[] = {
    {u"Albanian", 0x41C, 1250, kOld},
    {u"Arabic", 0x401, 1256, kOld},
    {u"Azeri_Cyrillic", 0x82C, 1251, kV90 | kV100},
    {u"Azeri_Latin", 0x42C, 1254, kV90 | kV100},
    {u"Chinese_Hong_Kong_Stroke", 0xC04, 950, kV90},
    {u"Chinese_PRC", 0x804, 936, kV80 | kV90},
    {u"Chinese_PRC_Stroke", 0x20804, 936, kV80 | kV90},
    {u"Chinese_Simplified_Pinyin", 0x804, 936, kV100},
    {u"Chinese_Simplified_Stroke_Order", 0x20804, 936, kV100},
    {u"Chinese_Taiwan_Bopomofo", 0x30404, 950, kV80 | kV90},
    {u"Chinese_Taiwan_Stroke", 0x404, 950, kV80 | kV90},
    {u"Chinese_Traditional_Bopomofo", 0x30404, 950, kV100},
    {u"Chinese_Traditional_Stroke_Count", 0x404, 950, kV100},
    {u"Croatian", 0x41A, 1250, kOld},
    {u"Cyrillic_General", 0x419, 1251, kOld},
    {u"Czech", 0x405, 1250, kOld},
    {u"Danish_Norwegian", 0x406, 1252, kV80},
    {u"Estonian", 0x425, 1257, kOld},
    {u"Finnish_Swedish", 0x40B, 1252, kOld},
    {u"French", 0x40C, 1252, kOld},
    {u"German_PhoneBook", 0x10407, 1252, kOld},
    {u"Greek", 0x408, 1253, kOld},
    {u"Hebrew", 0x40D, 1255, kOld},
    {u"Hungarian", 0x40E, 1250, kOld},
    {u"Icelandic", 0x40F, 1252, kOld},
    {u"Indic_General", 0x439, 0, kV90 | kV100},
    {u"Japanese", 0x411, 932, kV80 | kV90},
    {u"Japanese_Bushu_Kakusu", 0x411, 932, kV100 | kV140},
    {u"Japanese_Unicode", 0x10411, 932, kV80},
    {u"Japanese_XJIS", 0x411, 932, kV100 | kV140},
    {u"Kazakh", 0x43F, 1251, kV90 | kV100},
    {u"Korean", 0x412, 949, kV90 | kV100},
    {u"Korean_Wansung", 0x412, 949, kV80},
    {u"Latin1_General", 0x409, 1252, kOld},
    {u"Latvian", 0x426, 1257, kOld},
    {u"Lithuanian", 0x427, 1257, kOld},
    {u"Macedonian_FYROM", 0x42F, 1251, kV90 | kV100},
    {u"Modern_Spanish", 0xC0A, 1252, kOld},
    {u"Norwegian", 0x414, 1252, kV100},
    {u"Persian", 0x429, 1256, kV100},
    {u"Polish", 0x415, 1250, kOld},
    {u"Romanian", 0x418, 1250, kOld},
    {u"Serbian_Cyrillic", 0xC1A, 1251, kV100},
    {u"Serbian_Latin", 0x81A, 1250, kV100},
    {u"Slovak", 0x41B, 1250, kOld},
    {u"Slovenian", 0x424, 1250, kOld},
    {u"Thai", 0x41E, 874, kOld},
    {u"Traditional_Spanish", 0x40A, 1252, kOld},
    {u"Turkish", 0x41F, 1254, kOld},
    {u"Ukrainian", 0x422, 1251, kOld},
    {u"Urdu", 0x420, 1256, kV100},
    {u"Uzbek_Latin", 0x443, 1254, kV90 | kV100},
    {u"Vietnamese", 0x42A, 1258, kOld},
};

struct SqlCollation {
    std::u16string_view name;
    std::uint32_t lcid;
    int codePage;
    int sortId;
};

constexpr SqlCollation kSqlCollations[] = {
    {u"SQL_Latin1_General_CP437_BIN", 0x409, 437, 30},
    {u"SQL_Latin1_General_CP437_CS_AS", 0x409, 437, 31},
    {u"SQL_Latin1_General_CP437_CI_AS", 0x409, 437, 32},
    {u"SQL_Latin1_General_CP850_BIN", 0x409, 850, 40},
    {u"SQL_Latin1_General_CP850_CS_AS", 0x409, 850, 41},
    {u"SQL_Latin1_General_CP850_CI_AS", 0x409, 850, 42},
    {u"SQL_Latin1_General_CP1_CS_AS", 0x409, 1252, 51},
    {u"SQL_Latin1_General_CP1_CI_AS", 0x409, 1252, 52},
    {u"SQL_Latin1_General_CP1250_CS_AS", 0x409, 1250, 81},
    {u"SQL_Latin1_General_CP1250_CI_AS", 0x409, 1250, 82},
    {u"SQL_Czech_CP1250_CS_AS", 0x405, 1250, 83},
    {u"SQL_Czech_CP1250_CI_AS", 0x405, 1250, 84},
    {u"SQL_Hungarian_CP1250_CS_AS", 0x40E, 1250, 85},
    {u"SQL_Hungarian_CP1250_CI_AS", 0x40E, 1250, 86},
    {u"SQL_Polish_CP1250_CS_AS", 0x415, 1250, 87},
    {u"SQL_Polish_CP1250_CI_AS", 0x415, 1250, 88},
    {u"SQL_Romanian_CP1250_CS_AS", 0x418, 1250, 89},
    {u"SQL_Romanian_CP1250_CI_AS", 0x418, 1250, 90},
    {u"SQL_Croatian_CP1250_CS_AS", 0x41A, 1250, 91},
    {u"SQL_Croatian_CP1250_CI_AS", 0x41A, 1250, 92},
    {u"SQL_Slovak_CP1250_CS_AS", 0x41B, 1250, 93},
    {u"SQL_Slovak_CP1250_CI_AS", 0x41B, 1250, 94},
    {u"SQL_Slovenian_CP1250_CS_AS", 0x424, 1250, 95},
    {u"SQL_Slovenian_CP1250_CI_AS", 0x424, 1250, 96},
    {u"SQL_Latin1_General_CP1251_CS_AS", 0x409, 1251, 105},
    {u"SQL_Latin1_General_CP1251_CI_AS", 0x409, 1251, 106},
    {u"SQL_Ukrainian_CP1251_CS_AS", 0x422, 1251, 107},
    {u"SQL_Ukrainian_CP1251_CI_AS", 0x422, 1251, 108},
    {u"SQL_Latin1_General_CP1253_CS_AS", 0x409, 1253, 113},
    {u"SQL_Latin1_General_CP1253_CI_AS", 0x409, 1253, 114},
    {u"SQL_Latin1_General_CP1254_CS_AS", 0x409, 1254, 129},
    {u"SQL_Latin1_General_CP1254_CI_AS", 0x409, 1254, 130},
    {u"SQL_Latin1_General_CP1255_CS_AS", 0x409, 1255, 137},
    {u"SQL_Latin1_General_CP1255_CI_AS", 0x409, 1255, 138},
    {u"SQL_Latin1_General_CP1256_CS_AS", 0x409, 1256, 145},
    {u"SQL_Latin1_General_CP1256_CI_AS", 0x409, 1256, 146},
    {u"SQL_Latin1_General_CP1257_CS_AS", 0x409, 1257, 153},
    {u"SQL_Latin1_General_CP1257_CI_AS", 0x409, 1257, 154},
    {u"SQL_Estonian_CP1257_CS_AS", 0x425, 1257, 155},
    {u"SQL_Estonian_CP1257_CI_AS", 0x425, 1257, 156},
    {u"SQL_Latvian_CP1257_CS_AS", 0x426, 1257, 157},
    {u"SQL_Latvian_CP1257_CI_AS", 0x426, 1257, 158},
    {u"SQL_Lithuanian_CP1257_CS_AS", 0x427, 1257, 159},
    {u"SQL_Lithuanian_CP1257_CI_AS", 0x427, 1257, 160},
};

constexpr std::u16string_view kServerCollationName = u"SQL_Latin1_General_CP1_CI_AS";

char16_t Upper(char16_t c) {
    return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c;
}

bool SameText(std::u16string_view a, std::u16string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return Upper(x) == Upper(y); });
}

// Takes `word` off the front of `rest`.
bool Take(std::u16string_view& rest, std::u16string_view word) {
    if (rest.size() < word.size() || !SameText(rest.substr(0, word.size()), word)) return false;
    rest.remove_prefix(word.size());
    return true;
}

bool TakeSensitivity(std::u16string_view& rest, CollationFacts& facts) {
    if (Take(rest, u"_BIN2")) {
        facts.bin2 = true;
        facts.sensitivity = Sensitivity::Binary;
        return true;
    }
    if (Take(rest, u"_BIN")) {
        facts.sensitivity = Sensitivity::Binary;
        return true;
    }
    if (Take(rest, u"_CS_AS")) {
        facts.sensitivity = Sensitivity::Case;
        return true;
    }
    return Take(rest, u"_CI_AS");
}

std::optional<CollationFacts> FindSqlCollation(std::u16string_view name) {
    for (const SqlCollation& c : kSqlCollations) {
        if (!SameText(c.name, name)) continue;
        CollationFacts facts;
        facts.name = c.name;
        facts.lcid = c.lcid;
        facts.codePage = c.codePage;
        facts.sortId = c.sortId;
        std::u16string_view end = c.name.substr(c.name.size() - (c.name.ends_with(u"N") ? 4 : 6));
        TakeSensitivity(end, facts);
        return facts;
    }
    return std::nullopt;
}

// What follows the designator.
bool ReadSuffixes(std::u16string_view rest, unsigned versions, int server, CollationFacts& facts) {
    unsigned version = kV80;
    int since = 8;
    if (Take(rest, u"_90_")) {
        facts.version = 1;
        version = kV90;
        since = 9;
    } else if (Take(rest, u"_100_")) {
        facts.version = 2;
        version = kV100;
        since = 10;
    } else if (Take(rest, u"_140_")) {
        facts.version = 3;
        version = kV140;
        since = 14;
    } else if (!Take(rest, u"_")) {
        return false;
    }
    if ((versions & version) == 0) return false;
    const std::u16string all = u"_" + std::u16string(rest);
    rest = all;
    if (!TakeSensitivity(rest, facts)) return false;
    if (facts.bin2) since = std::max(since, 9);
    bool supplementary = facts.version == 3;
    if (facts.sensitivity != Sensitivity::Binary) {
        facts.kanaSensitive = Take(rest, u"_KS");
        facts.widthSensitive = Take(rest, u"_WS");
        if (facts.version == 3) Take(rest, u"_VSS");
        if (facts.version == 2 && Take(rest, u"_SC")) {
            supplementary = true;
            since = std::max(since, 11);
        }
    }
    if (facts.version >= 2 && (supplementary || facts.bin2) && Take(rest, u"_UTF8")) {
        facts.utf8 = true;
        facts.codePage = 65001;
        since = std::max(since, 15);
    }
    facts.supplementary = supplementary;
    return rest.empty() && server >= since;
}

std::optional<CollationFacts> FindWindowsCollation(std::u16string_view name, int server) {
    for (const Designator& d : kDesignators) {
        std::u16string_view rest = name;
        if (!Take(rest, d.name)) continue;
        CollationFacts facts;
        facts.name = d.name;
        facts.lcid = d.lcid;
        facts.codePage = d.codePage;
        if (!ReadSuffixes(rest, d.versions, server, facts)) continue;
        // As the server writes it: the designator's own letters, the suffixes in capitals.
        for (const char16_t c : rest)
            facts.name += Upper(c);
        return facts;
    }
    return std::nullopt;
}

// The collations that were asked for, each under its id.
class Register {
  public:
    Register() { Add(*FindSqlCollation(kServerCollationName)); }

    CollationId Add(const CollationFacts& facts) {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (std::size_t i = 0; i < known_.size(); ++i) {
            if (known_[i].name == facts.name) return static_cast<CollationId>(i);
        }
        known_.push_back(facts);
        return static_cast<CollationId>(known_.size() - 1);
    }

    const CollationFacts& At(CollationId id) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return known_[id];
    }

  private:
    std::mutex mutex_;
    std::deque<CollationFacts> known_;  // whose elements do not move
};

Register& Known() {
    static Register known;
    return known;
}

}  // namespace

int CollationFacts::ComparisonStyle() const {
    constexpr int kIgnoreCase = 0x1, kIgnoreKana = 0x10000, kIgnoreWidth = 0x20000;
    if (sensitivity == Sensitivity::Binary) return 0;
    return (sensitivity == Sensitivity::IgnoreCase ? kIgnoreCase : 0) |
           (kanaSensitive ? 0 : kIgnoreKana) | (widthSensitive ? 0 : kIgnoreWidth);
}

std::array<std::uint8_t, 5> CollationFacts::WireBytes() const {
    constexpr std::uint32_t kIgnoreCase = 0x1, kIgnoreWidth = 0x4, kIgnoreKana = 0x8,
                            kBinary = 0x10, kBinary2 = 0x20, kUtf8 = 0x40;
    std::uint32_t flags = utf8 ? kUtf8 : 0;
    if (sensitivity == Sensitivity::Binary) {
        flags |= bin2 ? kBinary2 : kBinary;
    } else {
        if (sensitivity == Sensitivity::IgnoreCase) flags |= kIgnoreCase;
        if (!kanaSensitive) flags |= kIgnoreKana;
        if (!widthSensitive) flags |= kIgnoreWidth;
    }
    const std::uint32_t info = lcid | flags << 20 | static_cast<std::uint32_t>(version) << 28;
    return {static_cast<std::uint8_t>(info), static_cast<std::uint8_t>(info >> 8),
            static_cast<std::uint8_t>(info >> 16), static_cast<std::uint8_t>(info >> 24),
            static_cast<std::uint8_t>(sortId)};
}

bool FindCollation(std::u16string_view name, int serverVersion, CollationId& id) {
    if (serverVersion < 8) return false;  // 7.0 has one collation for the whole server
    auto facts = FindSqlCollation(name);
    if (!facts) facts = FindWindowsCollation(name, serverVersion);
    if (!facts) return false;
    id = Known().Add(*facts);
    return true;
}

const CollationFacts& FactsOf(CollationId id) {
    static const CollationFacts& ofTheServer = Known().At(kServerCollation);
    return id == kServerCollation ? ofTheServer : Known().At(id);
}

}  // namespace sandbox
