#include "ui/IconDisc.h"

#include "ui/Glyph.h"
#include "ui/Theme.h"

#include <QPainter>

namespace {

constexpr int discSize = 46;
constexpr int glyphSize = 20;
constexpr int spokes = 12;

} // namespace

IconDisc::IconDisc(QWidget *parent) : QWidget(parent) {
    setFixedSize(discSize, discSize);
    timer.setInterval(80);
    connect(&timer, &QTimer::timeout, this, [this] {
        turn = (turn + 1) % spokes;
        update();
    });
}

void IconDisc::render(const QString &symbolName, const QColor &tint, bool isSpinning) {
    symbol = symbolName;
    colour = tint;
    spinning = isSpinning;
    keepTurning();
    update();
}

void IconDisc::keepTurning() {
    if (!spinning || !isVisible())
        timer.stop();
    else if (!timer.isActive())
        timer.start();
}

void IconDisc::showEvent(QShowEvent *) {
    keepTurning();
}

void IconDisc::hideEvent(QHideEvent *) {
    timer.stop();
}

void IconDisc::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::faded(colour, 0.15));
    painter.drawEllipse(rect());
    painter.translate(width() / 2.0, height() / 2.0);
    if (!spinning) {
        painter.drawPixmap(QPointF(-glyphSize / 2.0, -glyphSize / 2.0),
                           Glyph::pixmap(symbol, glyphSize, colour, devicePixelRatioF()));
        return;
    }
    for (int i = 0; i < spokes; ++i) {
        painter.save();
        painter.rotate(i * 360.0 / spokes);
        painter.setPen(QPen(Theme::faded(colour, 0.15 + 0.85 * ((i - turn + 2 * spokes) % spokes) / spokes), 2.2,
                            Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -5.5), QPointF(0, -10));
        painter.restore();
    }
}
