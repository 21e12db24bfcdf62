#include "catalog/CatalogBuilder.h"

namespace QuillonLib {

void CatalogBuilder::AddCatalogColumn(ColumnObjects& columns, const ColumnFacts& facts) {
    const auto column = columns.AddColumn(facts.Name);
    column->name_ = facts.Name;
    column->computed_ = facts.Computed;
}

std::shared_ptr<ColumnObject> CatalogBuilder::AddFullColumn(ColumnObjects& columns,
                                                            const ColumnFacts& facts) {
    auto column = columns.AddColumn(facts.Name);
    column->name_ = facts.Name;
    column->dataType_ = facts.DataType;
    column->length_ = facts.Length;
    column->numericScale_ = facts.NumericScale;
    column->numericPrecision_ = facts.NumericPrecision;
    column->computed_ = facts.Computed;
    column->allowNulls_ = facts.AllowNulls;
    return column;
}

void CatalogBuilder::AddIndex(IndexObjects& indexes, const IndexFacts& facts) {
    const auto index = indexes.AddIndex(facts.Name);
    index->name_ = facts.Name;
    index->primaryKey_ = facts.Has(IndexType::PrimaryKey);
}

std::shared_ptr<TableObject> CatalogBuilder::AddTable(TableObjects& tables, const ObjectName& name,
                                                      bool isView, const LoginData& login,
                                                      std::u16string_view database) {
    auto table = tables.AddTable(name.Owner, name.Name);
    table->login_ = login;
    table->database_ = database;
    table->isView_ = isView;
    return table;
}

}  // namespace QuillonLib
