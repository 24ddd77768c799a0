#include "ui/EmptyStateView.h"

#include "ui/Glyph.h"
#include "ui/Labels.h"

#include <QHBoxLayout>

EmptyStateView::EmptyStateView(const QString &systemImage, const QString &title, const QString &message,
                               QWidget *parent)
    : ScrolledColumn(QMargins(30, 30, 30, 30), 10, parent) {
    QVBoxLayout *layout = column();
    layout->addStretch();
    auto *glyph = new GlyphView(systemImage, 38);
    glyph->setTint(Theme::secondary);
    layout->addWidget(glyph, 0, Qt::AlignHCenter);
    layout->addWidget(Labels::make(title, Theme::font(Theme::Type::Headline, QFont::DemiBold)), 0, Qt::AlignHCenter);
    QLabel *text = Labels::wrapping(message, Theme::font(Theme::Type::Body), Labels::Strength::Secondary);
    text->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    text->setMaximumWidth(460);
    // Stretches instead of an alignment: an aligned label loses the height of its further lines.
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(text, 100);
    row->addStretch();
    layout->addLayout(row);
    layout->addStretch();
}

void EmptyStateView::addControl(QWidget *control) {
    column()->insertSpacing(column()->count() - 1, 4);
    column()->insertWidget(column()->count() - 1, control, 0, Qt::AlignHCenter);
}
