#pragma once

#include "ui/RunText.h"

#include <QAbstractListModel>

/// The lines of one run's details. Refers to the run that it was given.
class RunDetailModel : public QAbstractListModel {
  public:
    using QAbstractListModel::QAbstractListModel;

    void setItems(std::vector<RunText::Item> list);
    const RunText::Item &itemAt(const QModelIndex &index) const {
        return items.at(static_cast<std::size_t>(index.row()));
    }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

  private:
    std::vector<RunText::Item> items;
};
