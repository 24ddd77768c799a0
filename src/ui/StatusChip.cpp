#include "ui/StatusChip.h"

#include "ui/Glyph.h"
#include "ui/Labels.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QTextDocument>

namespace {

constexpr int dotSize = 7;
constexpr int margin = 11;

} // namespace

StatusChip::StatusChip(const QString &systemImage, QWidget *parent)
    : QWidget(parent), symbol(systemImage), glyph(new GlyphView(systemImage, 14)),
      label(new ElidedLabel(Theme::font(Theme::Type::Callout))) {
    glyph->setTint(Theme::secondary);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(margin + dotSize + 7, 6, margin, 6);
    layout->setSpacing(6);
    layout->addWidget(glyph);
    layout->addWidget(label);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    setMaximumWidth(300);
}

void StatusChip::render(bool ok, const QString &text) {
    isOk = ok;
    label->setText(text);
    label->updateGeometry();
    const QString hint = tooltip(ok, symbol, text);
    setToolTip(Qt::convertFromPlainText(hint));
    setAccessibleName(text);
    setAccessibleDescription(hint);
    update();
}

QString StatusChip::tooltip(bool ok, const QString &systemImage, const QString &text) {
    if (ok)
        return text;
    return systemImage.contains(QStringLiteral("cloud"))
               ? QStringLiteral("Install and sign in to OneDrive, or choose its folder in Settings.")
               : QStringLiteral("Plug in your external drive.");
}

void StatusChip::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::primary(palette(), 0.06));
    painter.drawRoundedRect(rect(), height() / 2.0, height() / 2.0);
    painter.setBrush(isOk ? Theme::good(palette()) : Theme::warning(palette()));
    painter.drawEllipse(QRectF(margin, (height() - dotSize) / 2.0, dotSize, dotSize));
}
