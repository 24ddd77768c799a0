#include "ui/Theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QStyleFactory>

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
    palette.setColor(QPalette::Highlight, accent(palette));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, faded(text, 0.45));
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
/// "look": none, "prominent", "plain" or "segment".
QString styleSheet(const QPalette &palette) {
    QString sheet = QStringLiteral(R"(
QPushButton, QToolButton[look="button"] {
    background: @button; border: 1px solid @line; border-radius: 7px; padding: 5px 14px; }
QPushButton:hover, QToolButton[look="button"]:hover { background: @buttonHover; }
QPushButton:pressed, QToolButton[look="button"]:pressed { background: @pressed; }
QPushButton:focus, QToolButton[look="button"]:focus { border: 2px solid @accent; padding: 4px 13px; }
QPushButton:disabled { color: @disabled; background: @disabledFill; }
QPushButton[look="prominent"] { background: @accent; color: white; border: 1px solid @accent; font-weight: 600; }
QPushButton[look="prominent"]:hover { background: @accentHover; }
QPushButton[look="prominent"]:pressed { background: @accentPressed; }
QPushButton[look="prominent"]:focus { border: 2px solid @focusRing; }
QPushButton[look="prominent"]:disabled { background: @disabledFill; color: @disabled; border: 1px solid @line; }
QPushButton[large="true"] { padding: 8px 18px; }
QPushButton[large="true"]:focus { padding: 7px 17px; }
QToolButton[look="plain"] { background: transparent; border: 2px solid transparent; border-radius: 6px; padding: 3px; }
QToolButton[look="plain"]:hover { background: @hover; }
QToolButton[look="plain"]:focus { border: 2px solid @accent; }
QToolButton::menu-indicator { image: none; width: 0; }
QFrame[look="segments"] { background: @hover; border-radius: 8px; }
QPushButton[look="segment"] { background: transparent; border: 2px solid transparent; border-radius: 7px; padding: 3px; }
QPushButton[look="segment"]:hover { background: @hover; }
QPushButton[look="segment"]:checked { background: @button; border: 1px solid @line; font-weight: 600; }
QPushButton[look="segment"]:focus { border: 2px solid @accent; padding: 3px; }
QLineEdit { background: @base; border: 1px solid @line; border-radius: 7px; padding: 5px 9px; }
QLineEdit:focus { border: 2px solid @accent; padding: 4px 8px; }
QProgressBar { background: @hover; border: none; border-radius: 3px; max-height: 6px; min-height: 6px; }
QProgressBar::chunk { background: @accent; border-radius: 3px; }
QScrollArea, QScrollArea > QWidget > QWidget#scrolled { background: transparent; border: none; }
QListView { background: transparent; border: none; }
QCheckBox::indicator { width: 16px; height: 16px; border: 1px solid @strongLine; border-radius: 4px; background: @base; }
QCheckBox::indicator:hover { border: 1px solid @accent; }
QCheckBox::indicator:checked { background: @accent; border: 1px solid @accent; image: url(:/glyphs/tick.svg); }
QCheckBox:focus { outline: none; }
QCheckBox::indicator:focus { border: 2px solid @focusRing; }
QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }
QScrollBar::handle:vertical { background: @strongLine; border-radius: 3px; min-height: 30px; }
QScrollBar::handle:vertical:hover { background: @tertiary; }
QScrollBar::add-line, QScrollBar::sub-line, QScrollBar::add-page, QScrollBar::sub-page { background: none; height: 0; }
QMenu { background: @base; border: 1px solid @line; border-radius: 6px; padding: 4px; }
QMenu::item { padding: 5px 22px 5px 14px; border-radius: 4px; }
QMenu::item:selected { background: @accent; color: white; }
QMenu::item:disabled { color: @disabled; background: transparent; }
QMenu::separator { height: 1px; background: @line; margin: 4px 8px; }
QToolTip { background: @base; color: @text; border: 1px solid @line; padding: 4px; }
)");
    const QColor strong = accent(palette);
    const std::array<std::pair<const char *, QColor>, 15> values = {{
        {"@buttonHover", isDark(palette) ? palette.button().color().lighter(118) : QColor(0xf0, 0xf0, 0xf3)},
        {"@button", palette.button().color()},
        {"@pressed", primary(palette, 0.14)},
        {"@strongLine", primary(palette, 0.34)},
        {"@tertiary", tertiary(palette)},
        {"@line", primary(palette, 0.16)},
        {"@accentHover", strong.lighter(108)},
        {"@accentPressed", strong.darker(112)},
        {"@accent", strong},
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

QString family() {
    for (const QString &wanted : {QStringLiteral("Inter"), QStringLiteral("Noto Sans")}) {
        if (QFontDatabase::hasFamily(wanted))
            return wanted;
    }
    return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
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
    return isDark(palette) ? QColor(0x3d, 0x9b, 0xf2) : QColor(0x1a, 0x73, 0xd9);
}

QColor secondary(const QPalette &palette) {
    return primary(palette, 0.64);
}

QColor tertiary(const QPalette &palette) {
    return primary(palette, 0.52);
}

QColor good(const QPalette &palette) {
    return isDark(palette) ? QColor(0x4c, 0xc3, 0x6a) : QColor(0x1f, 0x8f, 0x43);
}

QColor warning(const QPalette &palette) {
    return isDark(palette) ? QColor(0xff, 0xa4, 0x3d) : QColor(0xbf, 0x5b, 0x00);
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

QFont sized(double points, QFont::Weight weight) {
    static const QString name = family();
    QFont result(name);
    // In pixels of the 96-dpi screen that every desktop here pretends to have; scale factors come on top.
    result.setPixelSize(static_cast<int>(points + 0.5));
    result.setWeight(weight);
    return result;
}

QFont font(Type type, QFont::Weight weight) {
    return sized(pointsOf(type), weight);
}

} // namespace Theme

QColor PairPalette::colour(int number, const QPalette &palette) {
    static const std::array colours = {QColor::fromRgbF(0.12f, 0.53f, 0.90f), QColor::fromRgbF(0.15f, 0.65f, 0.60f)};
    return number >= 1 ? colours[static_cast<std::size_t>(number - 1) % colours.size()] : Theme::secondary(palette);
}
