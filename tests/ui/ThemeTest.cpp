#include "ui/Theme.h"

#include "ui/Buttons.h"

#include <QApplication>

#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <tuple>
#include <vector>

namespace {

double luminance(const QColor &colour) {
    const auto linear = [](double value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// What is seen of a colour that lets `behind` through.
QColor over(const QColor &behind, const QColor &colour) {
    const float share = colour.alphaF();
    const auto mixed = [&](float a, float b) { return a * share + b * (1 - share); };
    return QColor::fromRgbF(mixed(colour.redF(), behind.redF()), mixed(colour.greenF(), behind.greenF()),
                            mixed(colour.blueF(), behind.blueF()));
}

/// The contrast of a text, from 1 to 21.
double contrast(const QColor &text, const QColor &behind) {
    const double a = luminance(over(behind, text)), b = luminance(behind);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

/// What stands behind the text of a prominent button.
QColor fillOf(bool isPressed) {
    const std::unique_ptr<QPushButton> button(Buttons::make(QStringLiteral("x"), {}, Buttons::Look::Prominent));
    button->resize(100, 40);
    button->setDown(isPressed);
    return button->grab().toImage().pixelColor(15, 20);
}

TEST(ThemeTest, AllTextIsReadable) {
    for (const Theme::Scheme scheme : {Theme::Scheme::Dark, Theme::Scheme::Light}) {
        Theme::apply(*qApp, scheme);
        const QPalette palette = QApplication::palette();
        const QColor window = palette.window().color(), base = palette.base().color();
        std::vector<std::tuple<const char *, QColor, QColor>> rows = {
            {"prominent button", Qt::white, fillOf(false)},
            {"pressed prominent button", Qt::white, fillOf(true)},
            {"chosen menu entry, text selection", palette.highlightedText().color(), palette.highlight().color()},
            {"badge of an odd row", Qt::white, PairPalette::fill(1, palette)},
            {"badge of an even row", Qt::white, PairPalette::fill(2, palette)},
            {"chosen segment", palette.windowText().color(), palette.button().color()},
            {"segment", palette.windowText().color(), over(window, Theme::primary(palette, 0.07))},
            {"placeholder", palette.placeholderText().color(), base}};
        for (const QColor &behind : {window, base}) {
            for (const auto &[name, tint] : {std::pair("secondary", &Theme::secondary),
                                             {"tertiary", &Theme::tertiary},
                                             {"warning", &Theme::warning},
                                             {"danger", &Theme::danger}})
                rows.emplace_back(name, tint(palette), behind);
            for (const auto &[name, tint] : {std::pair("NEW", &Theme::good), {"UPDATED", &Theme::accent}}) {
                const QColor colour = tint(palette);
                rows.emplace_back(name, Theme::onPaleFill(colour, palette),
                                  over(behind, Theme::faded(colour, Theme::tagFill)));
            }
        }
        for (const auto &[name, text, behind] : rows)
            EXPECT_GE(contrast(text, behind), 4.5) << name << (scheme == Theme::Scheme::Dark ? ", dark" : ", light");
    }
}

TEST(ThemeTest, TheDesktopsFontIsTakenWhereItNamesOne) {
    struct Row {
        const char *family;
        double points;
        const char *expectedFamily;
        double expectedScale;
    };
    const std::vector<Row> rows = {{"DejaVu Sans", 10, "DejaVu Sans", 1},   {"DejaVu Sans", 12, "DejaVu Sans", 1.2},
                                   {"DejaVu Sans", 9, "DejaVu Sans", 0.9},  {"DejaVu Sans", 40, "DejaVu Sans", 1.6},
                                   {"Sans Serif", 9, "Inter", 1},           {"Sans", 11, "Inter", 1.1},
                                   {"Not Installed Here", 11, "Inter", 1.1}};
    for (const auto &[family, points, expectedFamily, expectedScale] : rows) {
        QFont font{QLatin1String(family)};
        font.setPointSizeF(points);
        const Theme::Typeface taken = Theme::typefaceFor(font);
        EXPECT_EQ(taken.family, QLatin1String(expectedFamily)) << family << points;
        EXPECT_DOUBLE_EQ(taken.scale, expectedScale) << family << points;
    }
}

} // namespace
