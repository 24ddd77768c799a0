#pragma once

#include <QColor>
#include <QWidget>

#include <optional>

/// A number in a coloured circle, or an empty pale one.
class BadgeView : public QWidget {
  public:
    explicit BadgeView(QWidget *parent = nullptr);

    void render(std::optional<int> value, const QColor &tint, bool faded);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    std::optional<int> number;
    QColor colour;
    bool isFaded = false;
};
