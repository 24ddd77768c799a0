#pragma once

#include "ui/Theme.h"

#include <QLabel>

/// Labels of the type scale.
namespace Labels {

enum class Strength { Primary, Secondary, Tertiary, Warning };

/// The colour of a strength on this palette.
QColor colour(Strength strength, const QPalette &palette);
/// Gives a label its strength, in the colour that it has now.
void setStrength(QLabel *label, Strength strength);
/// Gives all labels below `view` the colours of a palette that has changed.
void takeOverPalette(const QWidget &view);
/// A label of plain text (never markup: names come from disks).
QLabel *make(const QString &text, const QFont &font, Strength strength = Strength::Primary);
/// The same, over as many lines as it needs.
QLabel *wrapping(const QString &text, const QFont &font, Strength strength = Strength::Primary);

} // namespace Labels

/// One line of text that is shortened in the middle when there is no room; then its tooltip has it whole. Screen
/// readers always get it whole.
class ElidedLabel : public QLabel {
  public:
    explicit ElidedLabel(const QFont &font, QWidget *parent = nullptr);

    /// Before the text is shortened, its font may shrink to this share of its size.
    void setSmallestScale(double scale) { smallestScale = scale; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;

  private:
    double smallestScale = 1;
};
