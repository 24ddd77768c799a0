#include "ui/AppIcon.h"

#include "ui/Glyph.h"

#include <QPainter>
#include <QSvgRenderer>

namespace {

QString file() {
    return Glyph::file(QStringLiteral("tarnwick-basic"));
}

} // namespace

QIcon AppIcon::icon() {
    QIcon result;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        QPixmap picture(size, size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        QSvgRenderer(file()).render(&painter);
        result.addPixmap(picture);
    }
    return result;
}

AppIconView::AppIconView(int size, QWidget *parent) : QWidget(parent) {
    setFixedSize(size, size);
}

void AppIconView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    QSvgRenderer(file()).render(&painter, QRectF(rect()));
}
