#pragma once

#include <QColor>
#include <QWidget>

/// The arrow from an original folder to its backup: solid in the row's colour, or dashed and grey.
class Connector : public QWidget {
  public:
    static constexpr int columnWidth = 76;

    explicit Connector(QWidget *parent = nullptr);

    void render(const QColor &rowColour, bool enabled);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    QColor colour;
    bool isOn = false;
};
