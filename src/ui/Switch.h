#pragma once

#include <QCheckBox>

/// A check box drawn as a switch at the end of its line.
class Switch : public QCheckBox {
  public:
    explicit Switch(const QString &text, QWidget *parent = nullptr);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &) const override { return true; }
};
