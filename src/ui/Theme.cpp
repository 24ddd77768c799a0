#include "ui/Theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QScreen>
#include <QStyleFactory>

#include <algorithm>
#include <array>

namespace Theme {

namespace {

/// Judged by the text: a style sheet leaves some parts without a background of their own.
bool isDark(const QPalette &palette) {
    return palette.color(QPalette::Active, QPalette::WindowText).lightness() > 128;
}

QPalette paletteOf(Scheme scheme) {
    const bool dark = scheme == Scheme::Dark;
    const QColor window = dark ? QColor(0x1e, 0x1f, 0x22) : QColor(0xf5, 0xf5, 0xf7);
    const QColor base = dark ? QColor(0x2a, 0x2b, 0x2f) : QColor(0xff, 0xff, 0xff);
    const QColor text = dark ? QColor(0xf2, 0xf2, 0xf4) : QColor(0x1d, 0x1d, 0x1f);
    const QColor button = dark ? QColor(0x3a, 0x3b, 0x40) : QColor(0xff, 0xff, 0xff);
    QPalette palette(text, button, dark ? window : Qt::white, dark ? Qt::black : QColor(0xc8, 0xc8, 0xcc),
                     dark ? QColor(0x48, 0x49, 0x4e) : QColor(0xd8, 0xd8, 0xdc), text, text, base, window);
    palette.setColor(QPalette::Highlight, accentFill(palette));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, tertiary(palette));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faded(text, 0.35));
    // Fusion draws disabled text twice, with a white shadow, unless this is invisible.
    palette.setColor(QPalette::Disabled, QPalette::Light, Qt::transparent);
    return palette;
}

QString css(const QColor &colour) {
    return QStringLiteral("rgba(%1,%2,%3,%4)")
        .arg(colour.red())
        .arg(colour.green())
        .arg(colour.blue())
        .arg(colour.alphaF(), 0, 'f', 3);
}

/// A focused control keeps its size: its border takes from its padding. Buttons are told apart by the dynamic property
/// "look": none, "prominent" or "plain".
QString styleSheet(const QPalette &palette) {
    QString sheet = QStringLiteral(R"(
QPushButton, QToolButton[look="button"] {
    background: @button; border: 1px solid @line; border-radius: 7px; padding: 5px 14px; }
QPushButton:hover, QToolButton[look="button"]:hover { background: @buttonHover; }
QPushButton:pressed, QToolButton[look="button"]:pressed { background: @pressed; }
QPushButton:focus, QToolButton[look="button"]:focus { border: 2px solid @accent; padding: 4px 13px; }
QPushButton:disabled { color: @disabled; background: @disabledFill; }
QPushButton[look="prominent"] { background: @fill; color: white; border: 1px solid @fill; font-weight: 600; }
QPushButton[look="prominent"]:hover { background: @fillHover; }
QPushButton[look="prominent"]:pressed { background: @fillPressed; }
QPushButton[look="prominent"]:focus { border: 2px solid @focusRing; }
QPushButton[look="prominent"]:disabled { background: @disabledFill; color: @disabled; border: 1px solid @line; }
QPushButton[large="true"] { padding: 8px 18px; }
QPushButton[large="true"]:focus { padding: 7px 17px; }
QToolButton[look="plain"] { background: transparent; border: 2px solid transparent; border-radius: 6px; padding: 3px; }
QToolButton[look="plain"]:hover { background: @hover; }
QToolButton[look="plain"]:focus { border: 2px solid @accent; }
QToolButton::menu-indicator { image: none; width: 0; }
QFrame[look="segments"] { background: @hover; border-radius: 8px; }
QLineEdit { background: @base; border: 1px solid @line; border-radius: 7px; padding: 5px 9px; }
QLineEdit:focus { border: 2px solid @accent; padding: 4px 8px; }
QProgressBar { background: @hover; border: none; border-radius: 3px; max-height: 6px; min-height: 6px; }
QProgressBar::chunk { background: @accent; border-radius: 3px; }
QScrollArea, QScrollArea > QWidget > QWidget#scrolled { background: transparent; border: none; }
QListView { background: transparent; border: none; }
QCheckBox::indicator { width: 16px; height: 16px; border: 1px solid @strongLine; border-radius: 4px; background: @base; }
QCheckBox::indicator:hover { border: 1px solid @accent; }
QCheckBox::indicator:checked { background: @fill; border: 1px solid @fill; image: url(:/glyphs/tick.svg); }
QCheckBox:focus { outline: none; }
QCheckBox::indicator:focus { border: 2px solid @focusRing; }
QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }
QScrollBar::handle:vertical { background: @strongLine; border-radius: 3px; min-height: 30px; }
QScrollBar::handle:vertical:hover { background: @tertiary; }
QScrollBar::add-line, QScrollBar::sub-line, QScrollBar::add-page, QScrollBar::sub-page { background: none; height: 0; }
QMenu { background: @base; border: 1px solid @line; border-radius: 6px; padding: 4px; }
QMenu::item { padding: 5px 22px 5px 14px; border-radius: 4px; }
QMenu::item:selected { background: @fill; color: white; }
QMenu::item:disabled { color: @disabled; background: transparent; }
QMenu::separator { height: 1px; background: @line; margin: 4px 8px; }
QToolTip { background: @base; color: @text; border: 1px solid @line; padding: 4px; }
)");
    const QColor fill = accentFill(palette);
    const std::array<std::pair<const char *, QColor>, 16> values = {{
        {"@buttonHover", isDark(palette) ? palette.button().color().lighter(118) : QColor(0xf0, 0xf0, 0xf3)},
        {"@button", palette.button().color()},
        {"@pressed", primary(palette, 0.14)},
        {"@strongLine", primary(palette, 0.34)},
        {"@tertiary", tertiary(palette)},
        {"@line", primary(palette, 0.16)},
        {"@fillHover", fill.darker(108)}, // darker in both schemes, for the white text
        {"@fillPressed", fill.darker(120)},
        {"@fill", fill},
        {"@accent", accent(palette)},
        {"@focusRing", primary(palette, 0.7)},
        {"@disabledFill", primary(palette, 0.05)},
        {"@disabled", primary(palette, 0.35)},
        {"@hover", primary(palette, 0.07)},
        {"@base", palette.base().color()},
        {"@text", palette.text().color()},
    }};
    for (const auto &[name, colour] : values)
        sheet.replace(QLatin1String(name), css(colour));
    return sheet;
}

constexpr double usualPoints = 10;
constexpr double pointsWithoutOpinion = 9; // Qt's own, where no desktop says anything

/// The one that goes with this desktop; looked at once, since no view takes over another later.
const Typeface &typeface() {
    static const Typeface found = typefaceFor(QFontDatabase::systemFont(QFontDatabase::GeneralFont));
    return found;
}

double pointsIn(const QFont &font) {
    if (font.pixelSize() <= 0)
        return font.pointSizeF();
    return font.pixelSize() * 72 / QGuiApplication::primaryScreen()->logicalDotsPerInchY();
}

double pointsOf(Type type) {
    switch (type) {
    case Type::Title:
        return 24;
    case Type::Heading:
        return 20;
    case Type::Headline:
        return 15;
    case Type::Body:
        return 13;
    case Type::Callout:
        return 12.5;
    case Type::Caption:
        return 11.5;
    case Type::Smallest:
        break;
    }
    return 10.5;
}

} // namespace

Scheme schemeOf(const QPalette &palette) {
    return isDark(palette) ? Scheme::Dark : Scheme::Light;
}

void apply(QApplication &application, Scheme scheme) {
    if (application.styleSheet().isEmpty())
        application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    application.setFont(font(Type::Body));
    const QPalette palette = paletteOf(scheme);
    application.setPalette(palette);
    application.setStyleSheet(styleSheet(palette));
}

QColor accent(const QPalette &palette) {
    return isDark(palette) ? QColor(0x66, 0xb2, 0xf7) : QColor(0x17, 0x69, 0xc9);
}

QColor accentFill(const QPalette &palette) {
    return isDark(palette) ? QColor(0x1b, 0x6f, 0xc4) : accent(palette);
}

QColor secondary(const QPalette &palette) {
    return primary(palette, 0.68);
}

QColor tertiary(const QPalette &palette) {
    return primary(palette, 0.62);
}

QColor good(const QPalette &palette) {
    return isDark(palette) ? QColor(0x4c, 0xc3, 0x6a) : QColor(0x19, 0x7a, 0x38);
}

QColor warning(const QPalette &palette) {
    return isDark(palette) ? QColor(0xff, 0xa4, 0x3d) : QColor(0xb0, 0x52, 0x00);
}

QColor danger(const QPalette &palette) {
    return isDark(palette) ? QColor(0xff, 0x6b, 0x60) : QColor(0xd0, 0x2f, 0x26);
}

QColor primary(const QPalette &palette, double share) {
    return faded(palette.color(QPalette::Active, QPalette::WindowText), share);
}

QColor faded(QColor colour, double share) {
    colour.setAlphaF(static_cast<float>(share));
    return colour;
}

QColor onPaleFill(const QColor &colour, const QPalette &palette) {
    return isDark(palette) ? colour.lighter(112) : colour.darker(125);
}

Typeface typefaceFor(const QFont &desktopFont) {
    const QString family = desktopFont.family();
    const double points = pointsIn(desktopFont);
    // These stand for whatever is there.
    const bool isAny = family.isEmpty() || family == QStringLiteral("Sans") || family == QStringLiteral("Sans Serif");
    Typeface result{family, isAny && points == pointsWithoutOpinion ? 1 : std::clamp(points / usualPoints, 0.9, 1.6)};
    if (!isAny && QFontDatabase::hasFamily(family))
        return result;
    for (const QString &own : {QStringLiteral("Inter"), QStringLiteral("Noto Sans")}) {
        if (!QFontDatabase::hasFamily(own))
            continue;
        result.family = own;
        break;
    }
    return result;
}

int scaled(int pixels) {
    return static_cast<int>(pixels * typeface().scale + 0.5);
}

QFont sized(double points, QFont::Weight weight) {
    QFont result(typeface().family);
    // In pixels of the 96-dpi screen that most desktops here pretend to have; scale factors come on top.
    result.setPixelSize(static_cast<int>(points * typeface().scale + 0.5));
    result.setWeight(weight);
    return result;
}

QFont font(Type type, QFont::Weight weight) {
    return sized(pointsOf(type), weight);
}

} // namespace Theme

namespace {

QColor ofRow(int number, const std::array<QColor, 2> &colours, const QPalette &palette) {
    return number >= 1 ? colours[static_cast<std::size_t>(number - 1) % colours.size()] : Theme::secondary(palette);
}

} // namespace

QColor PairPalette::colour(int number, const QPalette &palette) {
    return ofRow(number, {QColor::fromRgbF(0.12f, 0.53f, 0.90f), QColor::fromRgbF(0.15f, 0.65f, 0.60f)}, palette);
}

QColor PairPalette::fill(int number, const QPalette &palette) {
    return ofRow(number, {QColor(0x1b, 0x6f, 0xc4), QColor(0x17, 0x77, 0x6d)}, palette);
}
