#include "ui/Card.h"

#include "ui/Theme.h"

#include <QPainter>

void Card::setColours(const QColor &fillColour, const QColor &borderColour, double borderWidth) {
    fill = fillColour;
    border = borderColour;
    width = borderWidth;
    update();
}

void Card::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill.isValid() ? fill : palette().color(QPalette::Base));
    painter.setPen(width > 0 ? QPen(border.isValid() ? border : Theme::primary(palette(), 0.09), width) : Qt::NoPen);
    const double inset = width / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius, radius);
}
