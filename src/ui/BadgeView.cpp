#include "ui/BadgeView.h"

#include "ui/Theme.h"

#include <QPainter>

BadgeView::BadgeView(QWidget *parent) : QWidget(parent) {
    setFixedSize(Theme::scaled(22), Theme::scaled(22));
}

void BadgeView::render(std::optional<int> value, const QColor &tint, bool faded) {
    number = value;
    colour = tint;
    isFaded = faded;
    setAccessibleName(number ? QStringLiteral("Folder ") + QString::number(*number) : QString());
    update();
}

void BadgeView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(number ? Theme::faded(colour, isFaded ? 0.5 : 1) : Theme::primary(palette(), 0.07));
    painter.drawEllipse(rect());
    if (!number)
        return;
    painter.setPen(Qt::white);
    painter.setFont(Theme::sized(11, QFont::Bold));
    painter.drawText(rect(), Qt::AlignCenter, QString::number(*number));
}
