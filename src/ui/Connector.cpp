#include "ui/Connector.h"

#include "ui/Glyph.h"
#include "ui/Theme.h"

#include <QPainter>

Connector::Connector(QWidget *parent) : QWidget(parent) {
    setFixedWidth(columnWidth);
    setMinimumHeight(34);
}

void Connector::render(const QColor &rowColour, bool enabled) {
    colour = rowColour;
    isOn = enabled;
    update();
}

void Connector::paintEvent(QPaintEvent *) {
    constexpr double radius = 15;
    constexpr int arrowSize = 14;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle = QRectF(rect()).center();
    QPen pen(isOn ? Theme::faded(colour, 0.75) : Theme::primary(palette(), 0.35), 1);
    if (!isOn)
        pen.setDashPattern({3, 3});
    painter.setPen(pen);
    painter.drawLine(QPointF(0, middle.y()), QPointF(middle.x() - radius, middle.y()));
    painter.drawLine(QPointF(middle.x() + radius, middle.y()), QPointF(width(), middle.y()));
    painter.setPen(isOn ? Qt::NoPen : QPen(Theme::primary(palette(), 0.2), 1));
    painter.setBrush(isOn ? QBrush(colour) : palette().brush(QPalette::Base));
    painter.drawEllipse(middle, radius, radius);
    painter.drawPixmap(middle - QPointF(arrowSize / 2.0, arrowSize / 2.0),
                       Glyph::pixmap(QStringLiteral("arrow.right"), arrowSize,
                                     isOn ? QColor(Qt::white) : Theme::secondary(palette()), devicePixelRatioF()));
}
