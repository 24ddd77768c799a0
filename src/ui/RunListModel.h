#pragma once

#include "records/SyncRun.h"

#include <QAbstractListModel>
#include <QStyledItemDelegate>

/// The history as a list, newest first.
class RunListModel : public QAbstractListModel {
  public:
    using QAbstractListModel::QAbstractListModel;

    /// What the list shows of one run.
    struct Entry {
        QUuid id;
        QString when;
        QString headline;
        QString trigger;
        QString icon;
        bool isClean = true;
    };

    void setRuns(const std::vector<SyncRun> &history);
    const Entry &entryAt(const QModelIndex &index) const { return entries.at(static_cast<std::size_t>(index.row())); }
    QModelIndex indexOf(const QUuid &id) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

  private:
    std::vector<Entry> entries;
};

/// Draws one entry of the list: an icon, when the run ended, its headline and what started it.
class RunListRow : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
