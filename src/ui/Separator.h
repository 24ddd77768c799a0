#pragma once

#include "ui/Theme.h"

#include <QPainter>
#include <QWidget>

/// A hairline between two parts of a view.
class Separator : public QWidget {
  public:
    explicit Separator(Qt::Orientation orientation = Qt::Horizontal, QWidget *parent = nullptr) : QWidget(parent) {
        if (orientation == Qt::Horizontal)
            setFixedHeight(1);
        else
            setFixedWidth(1);
    }

  protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), Theme::primary(palette(), 0.1)); }
};
