#pragma once

#include <QColor>
#include <QTimer>
#include <QWidget>

/// A symbol in a pale disc of its colour, or a spinning activity indicator.
class IconDisc : public QWidget {
  public:
    explicit IconDisc(QWidget *parent = nullptr);

    void render(const QString &symbolName, const QColor &tint, bool isSpinning);

  protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

  private:
    void keepTurning();

    QString symbol;
    QColor colour;
    bool spinning = false;
    int turn = 0;
    QTimer timer; // runs only while something is seen to spin
};
