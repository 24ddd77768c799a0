#include "ui/StatTile.h"

#include "ui/Theme.h"

#include <QPainter>

#include <algorithm>

StatTile::StatTile(QWidget *parent) : QWidget(parent) {
    setFixedHeight(Theme::scaled(54));
    setMinimumWidth(60);
}

void StatTile::render(const RunText::Tile &figure) {
    tile = figure;
    setAccessibleName(tile.title + QStringLiteral(": ") + tile.value);
    update();
}

void StatTile::paintEvent(QPaintEvent *) {
    constexpr int margin = 10;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::primary(palette(), 0.05));
    painter.drawRoundedRect(rect(), 8, 8);

    QFont font = Theme::sized(17, QFont::DemiBold);
    const double room = width() - 2 * margin;
    const double wanted = QFontMetricsF(font).horizontalAdvance(tile.value);
    font.setPixelSize(static_cast<int>(font.pixelSize() * std::clamp(room / std::max(wanted, 1.0), 0.7, 1.0)));
    painter.setFont(font);
    painter.setPen(tile.warn ? Theme::warning(palette()) : Theme::primary(palette(), 1));
    painter.drawText(QRect(margin, Theme::scaled(7), width() - 2 * margin, Theme::scaled(22)), Qt::AlignVCenter,
                     QFontMetrics(font).elidedText(tile.value, Qt::ElideRight, static_cast<int>(room)));
    painter.setFont(Theme::font(Theme::Type::Caption));
    painter.setPen(Theme::secondary(palette()));
    painter.drawText(QRect(margin, Theme::scaled(29), width() - 2 * margin, Theme::scaled(18)), Qt::AlignVCenter,
                     tile.title);
}
