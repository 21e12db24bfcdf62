#include "catalog/Databases.h"

#include <limits>

#include "core/Error.h"

namespace QuillonLib {

std::shared_ptr<Database> Databases::NextDatabase() {
    auto database = std::make_shared<Database>();
    database->SetID(++lastID_);
    return database;
}

std::shared_ptr<Database> Databases::Add() {
    auto database = AddItem(NextDatabase());
    dirty_ = true;
    return database;
}

std::shared_ptr<Database> Databases::Add(std::u16string_view vKey) {
    auto database = AddItem(NextDatabase(), vKey);
    dirty_ = true;
    return database;
}

void Databases::Remove(std::u16string_view vKey) {
    RemoveItem(vKey);
    dirty_ = true;
}

void Databases::Remove(std::int64_t vPosition) {
    RemoveItem(vPosition);
    dirty_ = true;
}

void Databases::RemoveID(std::int32_t lID) {
    const std::int16_t position = PositionOfID(lID);
    if (position != 0) Remove(std::int64_t{position});
    dirty_ = true;
}

std::shared_ptr<Database> Databases::ItemFromID(std::int32_t lID) const {
    const std::int16_t position = PositionOfID(lID);
    return position == 0 ? nullptr : Item(std::int64_t{position});
}

void Databases::Dirty([[maybe_unused]] bool bValue) {
    dirty_ = true;
}

// Positions are counted in 16 bits: a longer list cannot be walked at all.
std::int16_t Databases::PositionOfID(std::int32_t lID) const {
    if (Count() > std::numeric_limits<std::int16_t>::max()) {
        throw Error(ErrorNumber::Overflow, u"Overflow");
    }
    std::int16_t position = 0;
    for (const auto& database : *this) {
        ++position;
        if (database->ID() == lID) return position;
    }
    return 0;
}

}  // namespace QuillonLib
