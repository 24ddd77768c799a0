#include "ui/RunDetailModel.h"

void RunDetailModel::setItems(std::vector<RunText::Item> list) {
    beginResetModel();
    items = std::move(list);
    endResetModel();
}

int RunDetailModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(items.size());
}

QVariant RunDetailModel::data(const QModelIndex &index, int role) const {
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole)
        return {};
    return RunText::spoken(itemAt(index));
}

Qt::ItemFlags RunDetailModel::flags(const QModelIndex &index) const {
    const bool isHeader = itemAt(index).kind == RunText::Item::Kind::Header;
    return isHeader ? Qt::ItemIsEnabled : Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}
