#pragma once

#include "ui/RunText.h"

#include <QStyledItemDelegate>

#include <functional>

/// Draws the lines of a run's details. A copied file has a magnifying glass at its end that shows it in the file
/// manager.
class RunDetailRow : public QStyledItemDelegate {
  public:
    using ShowFile = std::function<void(const ChangeRecord &change)>;

    RunDetailRow(ShowFile showFile, QObject *parent) : QStyledItemDelegate(parent), show(std::move(showFile)) {}

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

    /// How wide the lines are; lines that are longer wrap.
    void setWidth(int pixels) { width = pixels; }

  private:
    void paintBackground(QPainter *painter, const QStyleOptionViewItem &option) const;
    static void paintText(QPainter *painter, const QStyleOptionViewItem &option, const RunText::Item &item);
    static void paintFile(QPainter *painter, const QStyleOptionViewItem &option, const RunText::Item &item);
    static int paintTag(QPainter *painter, const QStyleOptionViewItem &option, const RunText::Item &item);

    ShowFile show;
    int width = 600;
};
