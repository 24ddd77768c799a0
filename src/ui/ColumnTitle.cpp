#include "ui/ColumnTitle.h"

#include "ui/Glyph.h"
#include "ui/Labels.h"

#include <QGridLayout>

ColumnTitle::ColumnTitle(const QString &systemImage, const QString &title, QWidget *parent)
    : QWidget(parent), subtitle(new ElidedLabel(Theme::font(Theme::Type::Caption))) {
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(4, 0, 0, 0);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(1);
    auto *glyph = new GlyphView(systemImage, 18);
    glyph->setTint(Theme::secondary);
    layout->addWidget(glyph, 0, 0, 2, 1, Qt::AlignVCenter);
    layout->addWidget(Labels::make(title, Theme::font(Theme::Type::Caption, QFont::Bold), Labels::Strength::Secondary),
                      0, 1);
    layout->addWidget(subtitle, 1, 1);
    layout->setColumnStretch(1, 1);
}

void ColumnTitle::setSubtitle(const QString &text) {
    subtitle->setText(text);
    Labels::setStrength(subtitle, Labels::Strength::Tertiary);
}
