#pragma once

#include "ui/Theme.h"

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QWidget>

/// The pictures of the views, by their symbol names ("cloud.fill"): one consistent set of vector drawings, tinted when
/// they are drawn.
namespace Glyph {

/// The symbol in a square of `size` pixels of a screen with the given scale, in one colour. A name without a drawing
/// gives an empty picture.
QPixmap pixmap(const QString &symbol, int size, const QColor &colour, qreal scale);

/// The symbol for a button: paler while the button is disabled, sharp at every scale.
QIcon icon(const QString &symbol, Theme::Tint tint);

/// The drawing itself, an SVG resource.
QString file(const QString &symbol);

/// Whether there is a drawing for the symbol.
bool exists(const QString &symbol);

} // namespace Glyph

/// A symbol as a part of a view. Screen readers pass over it.
class GlyphView : public QWidget {
  public:
    GlyphView(QString symbol, int size, QWidget *parent = nullptr);

    void setSymbol(const QString &name);
    void setColour(const QColor &value);
    /// A colour that follows the scheme.
    void setTint(Theme::Tint value);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    QString symbolName;
    int glyphSize;
    QColor colour;
    Theme::Tint tint = nullptr; // comes before the colour
};
