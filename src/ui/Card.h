#pragma once

#include <QColor>
#include <QWidget>

/// A rounded rectangle that holds other views.
class Card : public QWidget {
  public:
    explicit Card(QWidget *parent = nullptr) : QWidget(parent) {}

    /// An invalid colour stands for the palette's own.
    void setColours(const QColor &fillColour, const QColor &borderColour, double borderWidth);
    void setRadius(double value) { radius = value; }

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    QColor fill;
    QColor border;
    double width = 1;
    double radius = 10;
};
