#include "ui/Glyph.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <utility>

/// The macro wants to be used outside every namespace.
static bool loadDrawings() {
    Q_INIT_RESOURCE(glyphs);
    return true;
}

namespace {

QString fileOf(const QString &symbol) {
    [[maybe_unused]] static const bool loaded = loadDrawings();
    return QStringLiteral(":/glyphs/") + symbol + QStringLiteral(".svg");
}

class GlyphEngine : public QIconEngine {
  public:
    GlyphEngine(QString name, Theme::Tint meaning) : symbol(std::move(name)), tint(meaning) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override {
        const int size = std::min(rect.width(), rect.height());
        const QRect square(rect.x(), rect.y() + (rect.height() - size) / 2, size, size);
        const QPalette palette;
        const QColor colour =
            mode == QIcon::Disabled ? palette.color(QPalette::Disabled, QPalette::ButtonText) : tint(palette);
        painter->drawPixmap(square, Glyph::pixmap(symbol, size, colour, painter->device()->devicePixelRatioF()));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return result;
    }

    QIconEngine *clone() const override { return new GlyphEngine(symbol, tint); }

  private:
    QString symbol;
    Theme::Tint tint;
};

} // namespace

QString Glyph::file(const QString &symbol) {
    return fileOf(symbol);
}

bool Glyph::exists(const QString &symbol) {
    return QFile::exists(fileOf(symbol));
}

QPixmap Glyph::pixmap(const QString &symbol, int size, const QColor &colour, qreal scale) {
    const QString key = QStringLiteral("%1 %2 %3 %4").arg(symbol, colour.name(QColor::HexArgb)).arg(size).arg(scale);
    QPixmap result;
    if (QPixmapCache::find(key, &result))
        return result;
    const int pixels = qRound(size * scale);
    result = QPixmap(pixels, pixels);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    QSvgRenderer(fileOf(symbol)).render(&painter, QRectF(0, 0, pixels, pixels));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), colour);
    painter.end();
    result.setDevicePixelRatio(scale);
    QPixmapCache::insert(key, result);
    return result;
}

QIcon Glyph::icon(const QString &symbol, Theme::Tint tint) {
    return QIcon(new GlyphEngine(symbol, tint));
}

GlyphView::GlyphView(QString symbol, int size, QWidget *parent)
    : QWidget(parent), symbolName(std::move(symbol)), glyphSize(size) {
    setFixedSize(size, size);
}

void GlyphView::setSymbol(const QString &name) {
    symbolName = name;
    update();
}

void GlyphView::setColour(const QColor &value) {
    colour = value;
    update();
}

void GlyphView::setTint(Theme::Tint value) {
    tint = value;
    update();
}

void GlyphView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QColor shown = tint ? tint(palette()) : colour;
    painter.drawPixmap(rect(), Glyph::pixmap(symbolName, glyphSize, shown, devicePixelRatioF()));
}
