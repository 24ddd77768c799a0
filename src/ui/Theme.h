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
QColor secondary(const QPalette &palette);
QColor tertiary(const QPalette &palette);
QColor good(const QPalette &palette);
QColor warning(const QPalette &palette);
QColor danger(const QPalette &palette);
/// The colour of text with `share` of its strength (0 to 1), for fills and borders.
QColor primary(const QPalette &palette, double share);
/// `colour` with `share` of its strength.
QColor faded(QColor colour, double share);

/// The type scale.
enum class Type { Title, Heading, Headline, Body, Callout, Caption, Smallest };
QFont font(Type type, QFont::Weight weight = QFont::Normal);
/// A font of the scale's family in any size, in points of a 72-dpi screen.
QFont sized(double points, QFont::Weight weight = QFont::Normal);

} // namespace Theme

/// The two colours of the rows.
namespace PairPalette {

/// Of the row with this number, counted from 1; the secondary colour of `palette` for a number below 1.
QColor colour(int number, const QPalette &palette);

} // namespace PairPalette
