#include "app/BrandGlyph.h"

#include <QPainter>
#include <QPolygonF>

#include <cmath>
#include <functional>

namespace {

constexpr double side = 18;
constexpr QRectF drive(2.5, 1.5, 4.6, 15);

/// Draws in points from the bottom-left corner.
QImage drawn(double pixels, const std::function<void(QPainter &painter)> &draw) {
    QImage image(QSize(1, 1) * static_cast<int>(std::lround(pixels)), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / side, -pixels / side);
    painter.translate(0, -side);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    draw(painter);
    return image;
}

void drawStroke(QPainter &painter, QPointF from, QPointF to) {
    painter.setPen(QPen(Qt::black, 2.5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(from, to);
    painter.setPen(Qt::NoPen);
}

/// `paleAbove`: the height in points above which the drive is pale.
void drawGlyph(QPainter &painter, bool badge, double paleAbove) {
    painter.drawRoundedRect(drive, 1.5, 1.5);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.fillRect(QRectF(0, paleAbove, side, side), QColor(0, 0, 0, 90));
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.drawEllipse(QRectF(4.05, 3.2, 1.5, 1.5));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    drawStroke(painter, {8.3, 9.2}, {12.6, 13.5});
    painter.drawPolygon(QPolygonF({{16.6, 17.2}, {10.4, 16.2}, {15.6, 11.0}}));
    drawStroke(painter, {8.6, 8.4}, {14.8, 2.3});
    if (badge)
        painter.drawEllipse(QRectF(12.5, 5.5, 5.5, 5.5));
}

QImage tinted(QImage image, const QColor &colour) {
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

QImage withRim(const QImage &glyph, const QColor &ink) {
    const QColor opposite = ink.lightness() > 128 ? QColor(0, 0, 0, 150) : QColor(255, 255, 255, 190);
    const QImage shade = tinted(glyph, opposite);
    QImage image(glyph.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const double width = glyph.width() / 22.0;
    for (const QPointF &shift : {QPointF(-1, 0), QPointF(1, 0), QPointF(0, -1), QPointF(0, 1)})
        painter.drawImage(shift * width, shade);
    painter.drawImage(0, 0, tinted(glyph, ink));
    return image;
}

} // namespace

QImage BrandGlyph::menuBarImage(bool badge, double scale) {
    QImage image = drawn(side * scale, [=](QPainter &painter) { drawGlyph(painter, badge, side); });
    image.setDevicePixelRatio(scale);
    return image;
}

QIcon BrandGlyph::icon(const QColor &ink, bool badge, std::optional<double> done) {
    const double paleAbove = done ? drive.top() + *done * drive.height() : side;
    QIcon result;
    for (const int size : {16, 22, 24, 32, 44, 48, 64}) {
        const QImage glyph = drawn(size, [=](QPainter &painter) { drawGlyph(painter, badge, paleAbove); });
        result.addPixmap(QPixmap::fromImage(withRim(glyph, ink)));
    }
    return result;
}
