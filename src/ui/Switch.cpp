#include "ui/Switch.h"

#include "ui/Theme.h"

#include <QPainter>

namespace {

constexpr int trackWidth = 36;
constexpr int trackHeight = 20;

} // namespace

Switch::Switch(const QString &text, QWidget *parent) : QCheckBox(text, parent) {
    setFont(Theme::font(Theme::Type::Body));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize Switch::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + trackWidth + 24, Theme::scaled(28)};
}

void Switch::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(rect().adjusted(0, 0, -trackWidth - 12, 0), Qt::AlignVCenter | Qt::AlignLeft, text());

    const QRectF track(width() - trackWidth - 2, (height() - trackHeight) / 2.0, trackWidth, trackHeight);
    if (hasFocus()) {
        painter.setPen(QPen(Theme::accent(palette()), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(track.adjusted(-2, -2, 2, 2), trackHeight / 2.0 + 2, trackHeight / 2.0 + 2);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? Theme::accentFill(palette()) : Theme::primary(palette(), 0.22));
    painter.drawRoundedRect(track, trackHeight / 2.0, trackHeight / 2.0);
    const double knob = trackHeight - 4;
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(isChecked() ? track.right() - knob - 2 : track.left() + 2, track.top() + 2, knob, knob));
}
