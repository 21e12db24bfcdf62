// Two databases of one random schema whose rows differ at random.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QuillonLib {

// Everything follows from the seed.
class RandomDatabases {
  public:
    explicit RandomDatabases(std::uint32_t seed);

    // The collation of both databases, empty for the server's own.
    const std::u16string& Collation() const { return collation_; }

    // Another one of the same code page, or the same where none is known.
    std::u16string OtherCollation() const;

    // A script that creates a database of the given name, in that collation, and its empty tables.
    std::u16string Script(const std::u16string& database) const {
        return Script(database, collation_);
    }
    std::u16string Script(const std::u16string& database, const std::u16string& collation) const;
    // The rows of side 1 or side 2: one batch each, for data may hold a line "GO".
    std::vector<std::u16string> Inserts(int side) const;
    // The tables in brackets, in an order in which each may refer to those before it.
    std::vector<std::u16string> TableNames() const;
    // Table entries of all tables and views, in order.
    std::vector<std::u16string> Entries() const;

    // The columns of a table that is keyed on both sides: those of the key, and those of the code
    // page, whose bytes can be looked at. None for a table without such columns.
    struct PageTable {
        std::u16string name;  // in brackets, as all names here
        std::vector<std::u16string> keys;
        std::vector<std::pair<std::u16string, bool>> columns;  // name; of type text
    };
    std::vector<PageTable> PageTables() const;

    // Every table but the ring, with the columns that can be written: quoted names, and their
    // types.
    struct WrittenTable {
        std::u16string name;
        std::vector<std::pair<std::u16string, std::u16string>> columns;
    };
    std::vector<WrittenTable> WrittenTables() const;

    // A table with an xml column, which no server compares: one row on each side, (1,
    // <side>1</side>) and (2, <side>2</side>).
    static constexpr std::u16string_view Documents = u"[dbo].[documents]";
    bool HasDocuments() const { return hasDocuments_; }

    // Two tables that refer to each other (not among the others above), in about every third pair.
    static const std::vector<std::u16string>& RingTables();  // table entries
    bool HasRing() const { return !ring_[0].empty(); }

  private:
    enum class Key { Int, Identity, Composite, Guid, UniqueIndex, PageText, Unnamed, None };
    struct Column {
        std::u16string name;
        std::u16string type;
        bool nullable = true;
        bool isKey = false;
        bool written = true;             // not computed, not a timestamp
        int parent = -1;                 // table that a foreign key refers to
        std::u16string definition = {};  // of a computed column
    };
    using Row = std::vector<std::u16string>;  // literals, by column
    struct Table {
        std::u16string name;
        Key key = Key::None;
        std::vector<Column> columns;
        std::vector<Row> rows[2];
        std::vector<std::u16string> keyValues[2];  // of tables with a single int key
    };

    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    bool Chance(int percent) { return Below(100) < percent; }

    void MakeTable(int number);
    void FillRing();
    void AddKeyColumns(Table& table);
    void AddColumn(Table& table);
    void FillTable(Table& table);
    std::vector<std::u16string> KeyLiterals(const Table& table, int row);
    std::u16string ValueOf(const Column& column, int side);
    std::u16string Literal(const std::u16string& type);
    std::u16string TextLiteral(bool unicode, int longest, bool oneLine);
    std::u16string PageBytes(int longest);
    std::u16string ForeignBytes(int longest);
    std::u16string Digits(int count);
    std::u16string Hex(int bytes);
    std::u16string Padded(int number, int width);
    std::u16string TimeOfDay(int fractionDigits);
    std::u16string Day(int firstYear, int lastYear, bool dashes);

    static std::u16string CreateTable(const Table& table);

    std::mt19937 random_;
    std::u16string collation_;
    int page_ = 1252;
    std::vector<Table> tables_;
    bool withView_ = false;
    bool hasDocuments_ = false;
    std::vector<std::u16string> ring_[2];  // the statements that fill the ring, by side
};

}  // namespace QuillonLib
