#pragma once

#include "ui/RunText.h"

#include <QWidget>

/// One figure of the details' header.
class StatTile : public QWidget {
  public:
    explicit StatTile(QWidget *parent = nullptr);

    void render(const RunText::Tile &figure);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    RunText::Tile tile;
};
