#include "direct/InsertLists.h"

#include <utility>

#include "direct/StatementText.h"

namespace QuillonLib {

void InsertLists::Add(Row row, bool alone) {
    if (alone) Flush();
    gathered_ += Size(row);
    rows_.push_back(std::move(row));
    if (alone || !table_.lists || rows_.size() == MaxListRows ||
        rows_.size() * table_.columns.size() >= MaxListCells || gathered_ >= MaxListText) {
        Flush();
    }
}

void InsertLists::Flush() {
    if (rows_.empty()) return;
    const std::u16string check = table_.check ? table_.check(rows_.size(), rows_.front()) : u"";
    for (std::size_t i = 0; i < table_.columns.size(); ++i) {
        if (rows_.size() > 1 && rows_.front()[i] == u"NULL") rows_.front()[i] = table_.nulls[i];
    }
    std::u16string text;
    if (table_.identity) text += u"SET IDENTITY_INSERT " + table_.name + u" ON\r\n";
    text += u"INSERT INTO " + table_.name + u" (" + Joined(table_.columns) + u") VALUES";
    for (std::size_t i = 0; i < rows_.size(); ++i)
        text += (i == 0 ? u"\r\n(" : u",\r\n(") + Joined(rows_[i]) + u")";
    text += check;
    if (table_.identity) text += u"\r\nSET IDENTITY_INSERT " + table_.name + u" OFF";
    out_(text);
    rows_.clear();
    gathered_ = 0;
}

}  // namespace QuillonLib
