#include "RandomDatabases.h"

#include "core/TableEntry.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

// Every type of the servers, but sql_variant (its base type does not travel) and xml (no server
// compares it: it stands in a table of its own).
const std::vector<std::u16string> Types{
    u"bit", u"tinyint", u"smallint", u"int", u"bigint", u"decimal(38,0)", u"decimal(38,38)",
    u"decimal(18,4)", u"numeric(9,2)", u"money", u"smallmoney", u"float", u"real", u"datetime",
    u"smalldatetime", u"date", u"time(0)", u"time(3)", u"time(7)", u"datetime2(0)", u"datetime2(7)",
    u"datetimeoffset(0)", u"datetimeoffset(7)", u"char(10)", u"varchar(30)", u"varchar(max)",
    u"text",
    // of the code page of the database, and of another one
    u"varchar(24)", u"varchar(20)", u"varchar(20) COLLATE Polish_CI_AS",
    u"char(6) COLLATE Cyrillic_General_BIN", u"nchar(10)", u"nvarchar(30)", u"nvarchar(max)",
    u"ntext", u"binary(8)", u"varbinary(20)", u"varbinary(max)", u"image", u"uniqueidentifier"};

}  // namespace

RandomDatabases::RandomDatabases(std::uint32_t seed) : random_(seed) {
    static constexpr std::pair<const char16_t*, int> Pages[] = {
        {u"", 1252},
        {u"Latin1_General_CS_AS", 1252},
        {u"Czech_CI_AS", 1250},
        {u"Cyrillic_General_CI_AS", 1251},
        {u"Japanese_CI_AS", 932},
        {u"Latin1_General_100_CI_AS_SC_UTF8", 65001}};
    const auto& [collation, page] = Pages[Below(6)];
    collation_ = collation;
    page_ = page;
    const int count = 2 + Below(4);
    for (int i = 0; i < count; ++i)
        MakeTable(i);
    withView_ = Chance(50) && tables_[0].key == Key::Int;
    for (Table& table : tables_)
        FillTable(table);
    hasDocuments_ = Chance(25);
    if (Chance(35)) FillRing();
}

const std::vector<std::u16string>& RandomDatabases::RingTables() {
    static const std::vector<std::u16string> tables{u"[dbo].[ring one]", u"[dbo].[ring two]"};
    return tables;
}

// Rows first, then what they refer to: a row of the other table that is on this side.
void RandomDatabases::FillRing() {
    for (auto& statements : ring_) {
        std::vector<int> rows[2];
        for (int table = 0; table < 2; ++table) {
            for (int id = 0; id < 8; ++id) {
                if (!Chance(70)) continue;
                rows[table].push_back(id);
                statements.push_back(u"INSERT INTO " + RingTables()[table] + u" VALUES (" +
                                     ToText(id) + u", NULL, " + TextLiteral(true, 3, false) + u")");
            }
        }
        for (int table = 0; table < 2; ++table) {
            const std::vector<int>& others = rows[1 - table];
            for (const int id : rows[table]) {
                if (others.empty() || Chance(25)) continue;
                const int other =
                    others[static_cast<std::size_t>(Below(static_cast<int>(others.size())))];
                statements.push_back(u"UPDATE " + RingTables()[table] + u" SET other = " +
                                     ToText(other) + u" WHERE id = " + ToText(id));
            }
        }
        if (statements.empty()) statements.emplace_back(u"DELETE FROM [ring one]");
    }
}

void RandomDatabases::MakeTable(int number) {
    static constexpr Key Keys[] = {Key::Int,       Key::Int,     Key::Identity,
                                   Key::Composite, Key::Guid,    Key::UniqueIndex,
                                   Key::PageText,  Key::Unnamed, Key::None};
    Table table;
    table.name = number == 0 ? std::u16string(u"first") : u"t " + ToText(number);
    table.key = number == 0 ? Key::Int : Keys[Below(9)];
    AddKeyColumns(table);
    // Chains and diamonds: a table may refer to any of those before it. One without a key gets no
    // script, so what it refers to could not go away.
    const bool scripted = table.key != Key::None && table.key != Key::Unnamed;
    for (int parent = 0; parent < number && scripted; ++parent) {
        if (!Chance(40) || tables_[static_cast<std::size_t>(parent)].key != Key::Int) continue;
        Column reference{u"ref" + ToText(parent), u"int"};
        reference.parent = parent;
        table.columns.push_back(reference);
    }
    const int columns = 1 + Below(7);
    for (int i = 0; i < columns; ++i)
        AddColumn(table);
    if (Chance(20)) {
        Column computed{u"computed", u"int"};
        computed.written = false;
        computed.definition = u"AS " + std::u16string(u"1 + 1");
        table.columns.push_back(computed);
    }
    if (Chance(20)) {
        Column stamp{u"stamp", u"timestamp"};
        stamp.written = false;
        table.columns.push_back(stamp);
    }
    if (Chance(20)) table.columns.push_back({u"msrepl_tran_version", u"uniqueidentifier"});
    tables_.push_back(std::move(table));
}

void RandomDatabases::AddKeyColumns(Table& table) {
    const auto add = [&](const char16_t* name, const char16_t* type) {
        Column column{name, type};
        column.nullable = false;
        column.isKey = true;
        table.columns.push_back(column);
    };
    switch (table.key) {
        case Key::Int:
        case Key::Identity:
        case Key::UniqueIndex:
        case Key::Unnamed:
            return add(u"id", u"int");
        case Key::PageText:
            return add(u"id", u"varchar(20)");
        case Key::Composite:
            add(u"part one", u"nvarchar(20)");
            add(u"part two", u"smallint");
            return add(u"part three", u"datetime");
        case Key::Guid:
            return add(u"id", u"uniqueidentifier");
        case Key::None:
            // A table in which no column can be compared is an error.
            table.columns.push_back({u"n", u"int"});
            return;
    }
}

void RandomDatabases::AddColumn(Table& table) {
    Column column{u"c" + ToText(static_cast<std::int64_t>(table.columns.size())),
                  Types[static_cast<std::size_t>(Below(static_cast<int>(Types.size())))]};
    if (Chance(20)) column.name += u" 'q\" [";
    column.nullable = Chance(70);
    table.columns.push_back(column);
}

std::vector<std::u16string> RandomDatabases::KeyLiterals(const Table& table, int row) {
    switch (table.key) {
        case Key::Composite:
            return {u"N'k''" + ToText(row / 3) + u"'", ToText(row % 3 - 1),
                    u"'20240229 23:59:59.99" + std::u16string(row % 2 == 0 ? u"7'" : u"3'")};
        case Key::Guid:
            return {u"'{00000000-0000-4000-8000-" + Padded(row, 12) + u"}'"};
        case Key::PageText: {
            // A digit, then bytes that are no letter of any code page.
            static constexpr const char16_t* Tails[] = {u"", u"00", u"7F", u"C281"};
            const char16_t* tail = page_ == 932 ? u"80" : page_ == 65001 ? Tails[row % 4] : u"98";
            return {u"0x3" + ToText(row / 10) + u"3" + ToText(row % 10) + tail};
        }
        case Key::None:
            return {};
        default:
            return {ToText(row * 3 - 7)};
    }
}

void RandomDatabases::FillTable(Table& table) {
    const int count = Below(12);
    for (int i = 0; i < count; ++i) {
        const std::vector<std::u16string> key = KeyLiterals(table, i);
        const bool in[2] = {Chance(80), Chance(80)};
        const bool same = Chance(55);
        Row before;
        for (int side = 0; side < 2; ++side) {
            if (!in[side]) continue;
            Row row;
            for (std::size_t c = 0; c < table.columns.size(); ++c) {
                const Column& column = table.columns[c];
                if (column.isKey) {
                    row.push_back(key[c]);
                } else if (!before.empty() && column.parent < 0 && (same || Chance(60))) {
                    row.push_back(before[c]);
                } else {
                    row.push_back(ValueOf(column, side));
                }
            }
            before = row;
            if (table.key == Key::Int) table.keyValues[side].push_back(key[0]);
            table.rows[side].push_back(std::move(row));
        }
    }
}

std::u16string RandomDatabases::ValueOf(const Column& column, int side) {
    if (!column.written) return {};
    if (column.parent >= 0) {
        const auto& keys = tables_[static_cast<std::size_t>(column.parent)].keyValues[side];
        if (keys.empty() || Chance(25)) return u"NULL";
        return keys[static_cast<std::size_t>(Below(static_cast<int>(keys.size())))];
    }
    if (column.nullable && Chance(25)) return u"NULL";
    return Literal(column.type);
}

std::u16string RandomDatabases::Padded(int number, int width) {
    std::u16string text = ToText(number);
    return std::u16string(static_cast<std::size_t>(width) - text.size(), u'0') + text;
}

std::u16string RandomDatabases::Digits(int count) {
    std::u16string digits;
    for (int i = 0; i < count; ++i)
        digits += static_cast<char16_t>(u'0' + Below(10));
    return digits;
}

std::u16string RandomDatabases::Hex(int bytes) {
    std::u16string hex = u"0x";
    for (int i = 0; i < 2 * bytes; ++i)
        hex += u"0123456789ABCDEF"[Below(16)];
    return hex;
}

// Bytes of the database's code page: NUL and those without a character among them, no others than
// such as come back.
std::u16string RandomDatabases::PageBytes(int longest) {
    std::u16string hex = u"0x";
    const auto add = [&](int byte) {
        hex += u"0123456789ABCDEF"[byte / 16];
        hex += u"0123456789ABCDEF"[byte % 16];
    };
    const auto tail = [&] { add(0x80 + Below(0x40)); };
    for (int room = Below(longest + 1); room > 0;) {
        const int kind = Below(8);
        if (kind == 0 || (kind < 3 && room < 4)) {
            static constexpr int Often[] = {0x00, 0x27, 0x3F, 0x20, 0x0D, 0x0A};
            add(Often[Below(6)]);
            --room;
        } else if (page_ == 932) {
            static constexpr int Singles[] = {0x80, 0xA0, 0xFD, 0xFE, 0xFF, 0xA1, 0xDF, 0xB1};
            if (kind < 4 && room > 1) {
                add(0x89 + Below(14));
                add(0x80 + Below(0x7D));
                room -= 2;
                continue;
            }
            add(kind < 6 ? Singles[Below(8)] : Below(0x80));
            --room;
        } else if (page_ == 65001) {
            // Two, three and four bytes to a character.
            if (kind == 1) {
                add(0xC2 + Below(30));
                tail();
                room -= 2;
            } else if (kind == 2) {
                add(0xE1 + Below(12));
                tail();
                tail();
                room -= 3;
            } else if (kind == 3 && room >= 4) {
                add(0xF1 + Below(3));
                tail();
                tail();
                tail();
                room -= 4;
            } else {
                add(Below(0x80));
                --room;
            }
        } else {
            add(Below(256));
            --room;
        }
    }
    return hex;
}

// Bytes of another code page, to which the code page of every database gives the same characters.
std::u16string RandomDatabases::ForeignBytes(int longest) {
    std::u16string hex = u"0x";
    for (int room = Below(longest + 1); room > 0; --room)
        hex += u"2" + std::u16string(1, u"0123456789ABCDEF"[Below(16)]);
    return hex;
}

std::u16string RandomDatabases::Day(int firstYear, int lastYear, bool dashes) {
    const std::u16string dash = dashes ? u"-" : u"";
    const int year = Chance(10)   ? firstYear
                     : Chance(10) ? lastYear
                                  : firstYear + Below(lastYear - firstYear + 1);
    return Padded(year, 4) + dash + Padded(1 + Below(12), 2) + dash + Padded(1 + Below(28), 2);
}

std::u16string RandomDatabases::TimeOfDay(int fractionDigits) {
    std::u16string time =
        Padded(Below(24), 2) + u":" + Padded(Below(60), 2) + u":" + Padded(Below(60), 2);
    if (Chance(15)) time = u"23:59:59";
    if (fractionDigits > 0)
        time += u"." + (Chance(15) ? std::u16string(static_cast<std::size_t>(fractionDigits), u'9')
                                   : Digits(fractionDigits));
    return time;
}

std::u16string RandomDatabases::TextLiteral(bool unicode, int longest, bool oneLine) {
    std::u16string text;
    const int length = Below(longest + 1);
    for (int i = 0; i < length; ++i) {
        switch (Below(unicode ? 12 : 8)) {
            case 0:
                text += u'\'';
                break;
            case 1:
                text += u"[]\"-/*?{}"[Below(9)];
                break;
            case 2:
                text += static_cast<char16_t>(0xA0 + Below(0x60));
                break;
            case 3:
                text += oneLine ? u'\t' : u'\n';
                break;
            case 8:
                text += static_cast<char16_t>(0xD800 + Below(0x800));
                break;  // a lone surrogate
            case 9:
                text += u'\0';
                break;
            case 10:
                text += static_cast<char16_t>(1 + Below(0xD7FF));
                break;
            default:
                text += static_cast<char16_t>(u' ' + Below(95));
                break;
        }
    }
    if (!oneLine && length > 10 && Chance(20)) text += u"\r\nGO\r\n";
    std::u16string literal = u"N'";
    for (const char16_t unit : text) {
        if (unit == u'\'') literal += unit;
        literal += unit;
    }
    return literal + u"'";
}

std::u16string RandomDatabases::Literal(const std::u16string& type) {
    const std::u16string sign = Chance(50) ? u"-" : u"";
    const auto either = [&](const char16_t* low, const char16_t* high, std::u16string other) {
        const int choice = Below(6);
        return choice == 0 ? std::u16string(low) : choice == 1 ? std::u16string(high) : other;
    };
    const std::u16string name = type.substr(0, type.find(u'('));
    if (name == u"bit") return ToText(Below(2));
    if (name == u"tinyint") return ToText(Below(256));
    if (name == u"smallint") return either(u"-32768", u"32767", sign + ToText(Below(30000)));
    if (name == u"int") return either(u"-2147483648", u"2147483647", sign + ToText(Below(2000000)));
    if (name == u"bigint") {
        return either(u"-9223372036854775808", u"9223372036854775807", sign + u"1" + Digits(17));
    }
    if (type == u"decimal(38,0)") return sign + u"1" + Digits(Below(38));
    if (type == u"decimal(38,38)") return sign + u"0." + Digits(38);
    if (type == u"decimal(18,4)") return sign + u"1" + Digits(Below(14)) + u"." + Digits(4);
    if (name == u"numeric") return sign + u"1" + Digits(Below(7)) + u"." + Digits(2);
    if (name == u"money") {
        return either(u"-922337203685477.5808", u"922337203685477.5807",
                      sign + u"1" + Digits(Below(14)) + u"." + Digits(4));
    }
    if (name == u"smallmoney") {
        return either(u"-214748.3648", u"214748.3647",
                      sign + u"1" + Digits(Below(5)) + u"." + Digits(4));
    }
    if (name == u"float" || name == u"real") {
        const int exponent = Below(name == u"float" ? 600 : 70) - (name == u"float" ? 300 : 35);
        return sign + u"1." + Digits(name == u"float" ? 16 : 8) + u"E" + ToText(exponent);
    }
    if (name == u"datetime") return u"'" + Day(1753, 9999, false) + u" " + TimeOfDay(2) + u"7'";
    if (name == u"smalldatetime") {
        return u"'" + Day(1900, 2078, false) + u" " + Padded(Below(24), 2) + u":" +
               Padded(Below(60), 2) + u":00'";
    }
    const int scale =
        type.find(u'(') == std::u16string::npos ? 0 : type[type.find(u'(') + 1] - u'0';
    if (name == u"date") return u"'" + Day(1, 9999, true) + u"'";
    if (name == u"time") return u"'" + TimeOfDay(scale) + u"'";
    if (name == u"datetime2") return u"'" + Day(1, 9999, true) + u" " + TimeOfDay(scale) + u"'";
    if (name == u"datetimeoffset") {
        return u"'" + Day(2, 9998, true) + u" " + TimeOfDay(scale) + (Chance(50) ? u" +" : u" -") +
               Padded(Below(14), 2) + u":" + Padded(Below(4) * 15, 2) + u"'";
    }
    if (type.find(u"COLLATE") != std::u16string::npos)
        return ForeignBytes(name == u"char" ? 6 : 20);
    const bool doubleBytes = page_ == 932 || page_ == 65001;
    const bool bytes = doubleBytes || Chance(60);
    if (name == u"char" && bytes) return PageBytes(10);
    if (type == u"varchar(30)" && bytes) return PageBytes(30);
    if (type == u"varchar(24)" || type == u"varchar(20)") return PageBytes(20);
    if (name == u"varchar" && bytes) return PageBytes(Chance(10) ? 9000 : 40);
    if (name == u"text" && bytes) {
        return u"CAST(CAST(" + PageBytes(Chance(10) ? 9000 : 40) + u" AS varchar(max)) AS text)";
    }
    if (name == u"char") return TextLiteral(false, 10, true);
    if (type == u"varchar(30)") return TextLiteral(false, 24, true);
    if (name == u"varchar" || name == u"text")
        return TextLiteral(false, Chance(10) ? 9000 : 40, false);
    if (name == u"nchar") return TextLiteral(true, 10, true);
    if (type == u"nvarchar(30)") return TextLiteral(true, 24, false).substr(0, 2000);
    if (name == u"nvarchar" || name == u"ntext")
        return TextLiteral(true, Chance(10) ? 5000 : 40, false);
    if (name == u"binary") return Hex(8);
    if (type == u"varbinary(20)") return Hex(Below(21));
    if (name == u"varbinary" || name == u"image") return Hex(Chance(10) ? 10000 : Below(30));
    const std::u16string guid = Hex(16).substr(2);
    return u"'{" + guid.substr(0, 8) + u"-" + guid.substr(8, 4) + u"-" + guid.substr(12, 4) + u"-" +
           guid.substr(16, 4) + u"-" + guid.substr(20) + u"}'";
}

std::u16string RandomDatabases::CreateTable(const Table& table) {
    std::u16string sql = u"CREATE TABLE [" + table.name + u"] (";
    std::u16string key;
    bool first = true;
    for (const Column& column : table.columns) {
        if (!first) sql += u", ";
        first = false;
        sql += u"[" + column.name + u"] ";
        if (!column.definition.empty()) {
            sql += column.definition;
            continue;
        }
        sql += column.type;
        if (column.isKey && table.key == Key::Identity) sql += u" IDENTITY(1,1)";
        sql += column.nullable && column.written ? u" NULL" : u" NOT NULL";
        if (column.isKey) key += (key.empty() ? u"[" : u", [") + column.name + u"]";
    }
    if (table.key == Key::Unnamed) {
        sql += u", PRIMARY KEY (" + key + u")";
    } else if (table.key != Key::None && table.key != Key::UniqueIndex) {
        sql += u", CONSTRAINT [PK " + table.name + u"] PRIMARY KEY (" + key + u")";
    }
    sql += u")\nGO\n";
    if (table.key == Key::UniqueIndex) {
        sql += u"CREATE UNIQUE INDEX [UX " + table.name + u"] ON [" + table.name + u"] (" + key +
               u")\nGO\n";
    }
    return sql;
}

std::u16string RandomDatabases::OtherCollation() const {
    switch (page_) {
        case 1252:
            return collation_.empty() ? u"Latin1_General_BIN" : u"Latin1_General_CI_AS";
        case 1250:
            return u"Czech_CS_AS";
        case 1251:
            return u"Cyrillic_General_BIN";
        case 932:
            return u"Japanese_CS_AS";
        default:
            return collation_;
    }
}

std::u16string RandomDatabases::Script(const std::u16string& database,
                                       const std::u16string& collation) const {
    std::u16string sql = u"CREATE DATABASE " + database +
                         (collation.empty() ? u"" : u" COLLATE " + collation) + u"\nGO\nUSE " +
                         database + u"\nGO\n";
    for (const Table& table : tables_) {
        sql += CreateTable(table);
        for (const Column& column : table.columns) {
            if (column.parent < 0) continue;
            const Table& parent = tables_[static_cast<std::size_t>(column.parent)];
            sql += u"ALTER TABLE [" + table.name + u"] ADD CONSTRAINT [FK " + table.name +
                   column.name + u"] FOREIGN KEY ([" + column.name + u"]) REFERENCES [" +
                   parent.name + u"] ([id])\nGO\n";
        }
    }
    if (hasDocuments_) {
        sql += u"CREATE TABLE " + std::u16string(Documents) +
               u" (id int NOT NULL CONSTRAINT [PK documents] PRIMARY KEY, doc xml NULL)\nGO\n";
    }
    if (HasRing()) {
        sql +=
            u"CREATE TABLE [ring one] (id int NOT NULL CONSTRAINT [PK ring one] PRIMARY KEY, other "
            u"int NULL, note nvarchar(30) NULL)\nGO\n"
            u"CREATE TABLE [ring two] (id int NOT NULL CONSTRAINT [PK ring two] PRIMARY KEY, other "
            u"int NULL CONSTRAINT [FK ring two] REFERENCES [ring one] (id), note nvarchar(30) "
            u"NULL)\nGO\n"
            u"ALTER TABLE [ring one] ADD CONSTRAINT [FK ring one] FOREIGN KEY (other) REFERENCES "
            u"[ring two] (id)\nGO\n";
    }
    if (withView_) {
        sql +=
            u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id FROM dbo.[first]\nGO\n"
            u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)\nGO\n";
    }
    return sql;
}

std::vector<std::u16string> RandomDatabases::Inserts(int side) const {
    std::vector<std::u16string> batches;
    for (const Table& table : tables_) {
        const bool identity = table.key == Key::Identity;
        for (const Row& row : table.rows[side - 1]) {
            std::u16string columns;
            std::u16string values;
            for (std::size_t c = 0; c < row.size(); ++c) {
                if (!table.columns[c].written) continue;
                columns += (columns.empty() ? u"[" : u", [") + table.columns[c].name + u"]";
                values += (values.empty() ? u"" : u", ") + row[c];
            }
            if (columns.empty()) continue;
            const std::u16string insert =
                u"INSERT INTO [" + table.name + u"] (" + columns + u") VALUES (" + values + u")";
            const std::u16string on = u"SET IDENTITY_INSERT [" + table.name + u"] ON ";
            const std::u16string off = u" SET IDENTITY_INSERT [" + table.name + u"] OFF";
            batches.push_back(identity ? on + insert + off : insert);
        }
    }
    if (hasDocuments_) {
        const std::u16string number = ToText(side);
        batches.push_back(u"INSERT INTO " + std::u16string(Documents) + u" VALUES (" + number +
                          u", N'<side>" + number + u"</side>')");
    }
    batches.insert(batches.end(), ring_[side - 1].begin(), ring_[side - 1].end());
    return batches;
}

std::vector<std::u16string> RandomDatabases::Entries() const {
    std::vector<std::u16string> entries;
    for (const Table& table : tables_)
        entries.push_back(MakeTableEntry(u"dbo", table.name));
    if (withView_) entries.push_back(u"[dbo].[v]");
    if (hasDocuments_) entries.emplace_back(Documents);
    return entries;
}

std::vector<RandomDatabases::WrittenTable> RandomDatabases::WrittenTables() const {
    std::vector<WrittenTable> tables;
    for (const Table& table : tables_) {
        WrittenTable& written = tables.emplace_back();
        written.name = u"[" + table.name + u"]";
        for (const Column& column : table.columns) {
            if (column.written)
                written.columns.emplace_back(u"[" + column.name + u"]", column.type);
        }
    }
    if (hasDocuments_)
        tables.push_back({std::u16string(Documents), {{u"[id]", u"int"}, {u"[doc]", u"xml"}}});
    return tables;
}

std::vector<RandomDatabases::PageTable> RandomDatabases::PageTables() const {
    std::vector<PageTable> tables;
    for (const Table& table : tables_) {
        if (table.key == Key::None || table.key == Key::Unnamed) continue;
        PageTable page{u"[" + table.name + u"]", {}, {}};
        for (const Column& column : table.columns) {
            const std::u16string name = column.type.substr(0, column.type.find(u'('));
            const std::u16string quoted = u"[" + column.name + u"]";
            if (column.isKey) page.keys.push_back(quoted);
            if (name == u"char" || name == u"varchar" || name == u"text")
                page.columns.emplace_back(quoted, name == u"text");
        }
        if (!page.columns.empty()) tables.push_back(std::move(page));
    }
    return tables;
}

std::vector<std::u16string> RandomDatabases::TableNames() const {
    std::vector<std::u16string> names;
    for (const Table& table : tables_)
        names.push_back(u"[" + table.name + u"]");
    return names;
}

}  // namespace QuillonLib
