// Made-up rows of eight mixed columns, quicker than any engine could read them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sandbox/Backend.h"

namespace bench {

// The declaration of their table.
inline constexpr const char16_t* MixedTable =
    u"t (Id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, Serial bigint NULL, Name nvarchar(50) NULL,"
    u" Code varchar(20) NULL, Changed datetime NULL, Amount decimal(18,4) NULL, Active bit NULL,"
    u" Ratio float NULL)";

// With two sides every column stands twice, as in a row set of differing rows.
class MixedRows {
  public:
    explicit MixedRows(std::size_t sides = 1) : sides_(sides) {
        using sandbox::TypeId;
        Add(u"Id", TypeId::Int);
        Add(u"Serial", TypeId::BigInt);
        Add(u"Name", TypeId::NVarChar, 50);
        Add(u"Code", TypeId::VarChar, 20);
        Add(u"Changed", TypeId::DateTime);
        Add(u"Amount", TypeId::Decimal, 0, 18, 4);
        Add(u"Active", TypeId::Bit);
        Add(u"Ratio", TypeId::Float);
        cells_.resize(columns_.size());
        for (auto& cell : cells_)
            cell.null = false;
    }

    const std::vector<sandbox::ColumnInfo>& Columns() const { return columns_; }

    // Writes row `i` as a side has it; rows with different `change` differ in `Amount`.
    void Set(std::size_t side, std::int64_t i, std::int64_t change) {
        const auto cell = [&](std::size_t column) -> sandbox::Cell& {
            return cells_[column * sides_ + side];
        };
        cell(0).i = i;
        cell(1).i = i * 1000003;
        cell(2).null = i % 16 == 15;
        cell(2).data = reinterpret_cast<const std::uint8_t*>(Names.data() + i % 8);
        cell(2).size = static_cast<std::size_t>(16 + i % 16) * 2;
        cell(3).data = reinterpret_cast<const std::uint8_t*>(Codes.data());
        cell(3).size = static_cast<std::size_t>(10 + i % 10) * 2;
        cell(4).i = 45000LL * 25920000 + i * 7919;
        cell(5).big = i * 12345 - 5000000 + change;
        cell(6).i = i & 1;
        cell(7).d = static_cast<double>(i) / 7;
    }
    bool Send(sandbox::ResultSink& sink) const { return sink.Row(cells_.data()); }

  private:
    static constexpr std::u16string_view Names =
        u"Jo\x00E3o O'Neill-\x0141uczak \x4E2D\x6587 Holding & Sons, Ltd.";
    static constexpr std::u16string_view Codes = u"AB-1234/5678-XYZ-0001";

    void Add(const char16_t* name, sandbox::TypeId id, int length = 0, int precision = 0,
             int scale = 0) {
        for (std::size_t side = 1; side <= sides_; ++side) {
            const std::u16string suffix = sides_ == 1 ? u"" : side == 1 ? u"_1" : u"_2";
            columns_.push_back({name + suffix,
                                {id, length, static_cast<std::uint8_t>(precision),
                                 static_cast<std::uint8_t>(scale)},
                                true,
                                false,
                                false});
        }
    }

    std::size_t sides_;
    std::vector<sandbox::ColumnInfo> columns_;
    std::vector<sandbox::Cell> cells_;
};

// So many of them as one row set. With two sides every row differs.
inline void SendRows(sandbox::ResultSink& sink, std::int64_t rows, std::size_t sides = 1) {
    MixedRows mixed(sides);
    sink.Columns(mixed.Columns());
    for (std::int64_t i = 0; i < rows; ++i) {
        for (std::size_t side = 0; side < sides; ++side)
            mixed.Set(side, i, static_cast<std::int64_t>(side));
        if (!mixed.Send(sink)) return;
    }
    sink.StatementDone(rows, true, false);
}

}  // namespace bench
