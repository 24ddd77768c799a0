#include "ui/Buttons.h"

#include "ui/Glyph.h"
#include "ui/Theme.h"

QPushButton *Buttons::make(const QString &text, const QString &symbol, Look look) {
    auto *button = new QPushButton(text);
    button->setFont(Theme::font(Theme::Type::Body));
    button->setAutoDefault(false);
    const bool prominent = look != Look::Normal;
    if (prominent)
        button->setProperty("look", QStringLiteral("prominent"));
    if (look == Look::LargeProminent)
        button->setProperty("large", true); // not "size": every widget has that already
    if (symbol.isEmpty())
        return button;
    button->setIconSize({22, 16}); // with a gap before the text
    const auto white = [](const QPalette &) { return QColor(Qt::white); };
    const auto textColour = [](const QPalette &palette) { return palette.buttonText().color(); };
    button->setIcon(Glyph::icon(symbol, prominent ? Theme::Tint(white) : Theme::Tint(textColour)));
    return button;
}

QToolButton *Buttons::symbolOnly(const QString &symbol, const QString &name, const QString &tooltip) {
    auto *button = new QToolButton;
    button->setProperty("look", QStringLiteral("plain"));
    button->setIcon(Glyph::icon(symbol, Theme::secondary));
    button->setIconSize({16, 16});
    button->setAccessibleName(name);
    button->setToolTip(tooltip);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}
