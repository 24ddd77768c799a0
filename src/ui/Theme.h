#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

class QApplication;
class QWidget;

/// The one look of the program: colours, type scale and style sheet, for a light and a dark palette.
namespace Theme {

enum class Scheme { Light, Dark };

/// The scheme that the desktop's palette asks for.
Scheme schemeOf(const QPalette &palette);

/// Gives the application its palette, font and style sheet; windows that are open take them over.
void apply(QApplication &application, Scheme scheme);

/// The accent blue of the Add Folder sheet.
inline const QColor blue(30, 136, 229);

/// A colour by its meaning, looked up whenever something is drawn, so that it follows the scheme.
using Tint = QColor (*)(const QPalette &palette);

// Colours by meaning, readable on the palette's background.
QColor accent(const QPalette &palette);
/// What is filled with the accent; white is readable on it.
QColor accentFill(const QPalette &palette);
QColor secondary(const QPalette &palette);
QColor tertiary(const QPalette &palette);
QColor good(const QPalette &palette);
QColor warning(const QPalette &palette);
QColor danger(const QPalette &palette);
/// The colour of text with `share` of its strength (0 to 1), for fills and borders.
QColor primary(const QPalette &palette, double share);
/// `colour` with `share` of its strength.
QColor faded(QColor colour, double share);
/// `colour` for text on a pale fill of the same colour.
QColor onPaleFill(const QColor &colour, const QPalette &palette);
/// How strong the pale fill of a tag is.
inline constexpr double tagFill = 0.18;

/// The type scale.
enum class Type { Title, Heading, Headline, Body, Callout, Caption, Smallest };
QFont font(Type type, QFont::Weight weight = QFont::Normal);
/// A font of the scale's family in any size, in points of a 72-dpi screen; larger where the desktop's font is.
QFont sized(double points, QFont::Weight weight = QFont::Normal);
/// A length that belongs to text, such as the height of a line, as large as the desktop's font asks for.
int scaled(int pixels);

/// What the type scale is made of.
struct Typeface {
    QString family;
    double scale = 1; ///< 1 where the desktop's font is as large as most are.
};
/// The family and size of the desktop's font; a family of our own where the desktop names none.
Typeface typefaceFor(const QFont &desktopFont);

} // namespace Theme

/// The two colours of the rows.
namespace PairPalette {

/// Of the row with this number, counted from 1; the secondary colour of `palette` for a number below 1.
QColor colour(int number, const QPalette &palette);
/// The same for what is filled with it; white is readable on it.
QColor fill(int number, const QPalette &palette);

} // namespace PairPalette
