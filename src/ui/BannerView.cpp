#include "ui/BannerView.h"

#include "ui/Buttons.h"
#include "ui/Glyph.h"
#include "ui/Labels.h"

#include <QHBoxLayout>
#include <QPainter>

namespace {

/// Around the coloured area; as a part of the view it goes when the banner goes.
constexpr QMargins outside(20, 10, 20, 0);
constexpr QMargins inside(14, 7, 8, 7);

} // namespace

BannerView::BannerView(const QString &systemImage, std::function<void()> onClose, QWidget *parent)
    : QWidget(parent), glyph(new GlyphView(systemImage, 16)),
      label(Labels::wrapping({}, Theme::font(Theme::Type::Callout))),
      close(Buttons::symbolOnly(QStringLiteral("xmark"), QStringLiteral("Close this notice"),
                                QStringLiteral("Close this notice"))) {
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(outside + inside);
    layout->setSpacing(9);
    layout->addWidget(glyph);
    layout->addWidget(label, 1);
    close->setObjectName(QStringLiteral("closeBanner"));
    connect(close, &QToolButton::clicked, this, onClose);
    layout->addWidget(close);
}

void BannerView::render(const std::optional<QString> &text, const QColor &tint) {
    colour = tint;
    glyph->setColour(tint);
    label->setText(text.value_or(QString()));
    setVisible(text.has_value());
}

void BannerView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::faded(colour, 0.12));
    painter.drawRoundedRect(rect().marginsRemoved(outside), 9, 9);
}
