#include "ui/Labels.h"

#include <QHelpEvent>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>

namespace Labels {

namespace {

constexpr const char *strengthProperty = "strength";

} // namespace

QColor colour(Strength strength, const QPalette &palette) {
    switch (strength) {
    case Strength::Secondary:
        return Theme::secondary(palette);
    case Strength::Tertiary:
        return Theme::tertiary(palette);
    case Strength::Warning:
        return Theme::warning(palette);
    case Strength::Primary:
        break;
    }
    return Theme::primary(palette, 1);
}

void setStrength(QLabel *label, Strength strength) {
    QPalette own = label->parentWidget() ? label->parentWidget()->palette() : QPalette();
    own.setColor(QPalette::WindowText, colour(strength, QPalette()));
    label->setPalette(own);
    label->setProperty(strengthProperty, static_cast<int>(strength));
}

void takeOverPalette(const QWidget &view) {
    for (QLabel *label : view.findChildren<QLabel *>()) {
        const QVariant strength = label->property(strengthProperty);
        if (strength.isValid())
            setStrength(label, static_cast<Strength>(strength.toInt()));
    }
}

QLabel *make(const QString &text, const QFont &font, Strength strength) {
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFont(font);
    setStrength(label, strength);
    return label;
}

QLabel *wrapping(const QString &text, const QFont &font, Strength strength) {
    QLabel *label = make(text, font, strength);
    label->setWordWrap(true);
    return label;
}

} // namespace Labels

ElidedLabel::ElidedLabel(const QFont &labelFont, QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setFont(labelFont);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 2, fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(QStringLiteral("W…W")), fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    const double wanted = std::max(fontMetrics().horizontalAdvance(text()), 1);
    QFont fitting = font();
    fitting.setPixelSize(static_cast<int>(fitting.pixelSize() * std::clamp(width() / wanted, smallestScale, 1.0)));
    painter.setFont(fitting);
    painter.drawText(rect(), static_cast<int>(alignment()) | Qt::TextSingleLine,
                     QFontMetrics(fitting).elidedText(text(), Qt::ElideMiddle, width()));
}

bool ElidedLabel::event(QEvent *event) {
    if (event->type() != QEvent::ToolTip || !toolTip().isEmpty())
        return QLabel::event(event);
    if (fontMetrics().horizontalAdvance(text()) > width())
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), Qt::convertFromPlainText(text()), this);
    return true;
}
