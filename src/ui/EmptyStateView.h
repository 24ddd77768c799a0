#pragma once

#include "ui/ScrolledColumn.h"

/// What a tab shows while there is nothing to show: a symbol, a title and what to do, centred.
class EmptyStateView : public ScrolledColumn {
  public:
    EmptyStateView(const QString &systemImage, const QString &title, const QString &message, QWidget *parent = nullptr);

    /// Adds a control below the message.
    void addControl(QWidget *control);
};
