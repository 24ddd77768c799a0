#include "ui/RunDetailRow.h"

#include "base/Fmt.h"
#include "records/ChangeRecord.h"
#include "ui/Glyph.h"
#include "ui/RunDetailModel.h"
#include "ui/Theme.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace {

using RunText::Item;
using Kind = Item::Kind;

constexpr int side = 16;
constexpr int textLeft = 42;
constexpr int buttonSize = 26;

const Item &itemAt(const QModelIndex &index) {
    return static_cast<const RunDetailModel *>(index.model())->itemAt(index);
}

QFont fontOf(const Item &item) {
    if (item.kind == Kind::Header)
        return Theme::font(Theme::Type::Callout, QFont::DemiBold);
    return Theme::font(item.kind == Kind::Explanation ? Theme::Type::Caption : Theme::Type::Callout);
}

int leftOf(const Item &item) {
    return item.kind == Kind::Line ? textLeft : side;
}

QColor tintOf(const Item &item, const QPalette &palette) {
    switch (item.tint) {
    case Item::Tint::Warning:
        return Theme::warning(palette);
    case Item::Tint::Danger:
        return Theme::danger(palette);
    case Item::Tint::Secondary:
        break;
    }
    return Theme::secondary(palette);
}

/// Between words where the words fit, else anywhere: a path may be one long word.
int wrapping(const QString &text, const QFontMetrics &metrics, int room) {
    const QStringList words = text.split(u' ');
    const bool fits = std::all_of(words.begin(), words.end(),
                                  [&](const QString &word) { return metrics.horizontalAdvance(word) <= room; });
    return fits ? Qt::TextWordWrap : Qt::TextWrapAnywhere;
}

QRect buttonRect(const QRect &row) {
    return {row.right() - side - buttonSize + 4, row.center().y() - buttonSize / 2, buttonSize, buttonSize};
}

void drawGlyph(QPainter *painter, const QString &symbol, int size, const QPointF &at, const QColor &colour) {
    painter->drawPixmap(at, Glyph::pixmap(symbol, size, colour, painter->device()->devicePixelRatioF()));
}

} // namespace

void RunDetailRow::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const {
    const Item &item = itemAt(index);
    painter->save();
    painter->setClipRect(option.rect); // its height may still be that of another width
    painter->setRenderHint(QPainter::Antialiasing);
    if (item.kind != Kind::Header)
        paintBackground(painter, option);
    if (item.kind == Kind::Change || item.kind == Kind::NameSkip)
        paintFile(painter, option, item);
    else
        paintText(painter, option, item);
    painter->restore();
}

void RunDetailRow::paintBackground(QPainter *painter, const QStyleOptionViewItem &option) const {
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    if (!isSelected && !option.state.testFlag(QStyle::State_MouseOver))
        return;
    painter->setPen(Qt::NoPen);
    painter->setBrush(isSelected ? Theme::faded(Theme::accent(option.palette), 0.16)
                                 : Theme::primary(option.palette, 0.04));
    painter->drawRoundedRect(option.rect.adjusted(6, 0, -6, 0), 6, 6);
}

void RunDetailRow::paintText(QPainter *painter, const QStyleOptionViewItem &option, const Item &item) {
    const QRect row = option.rect;
    if (item.kind == Kind::Line)
        drawGlyph(painter, item.symbol, 15, QPointF(row.left() + side, row.top() + 4), tintOf(item, option.palette));
    const bool isPale = item.kind == Kind::Explanation || item.kind == Kind::Plain;
    painter->setFont(fontOf(item));
    painter->setPen(isPale ? Theme::secondary(option.palette) : Theme::primary(option.palette, 1));
    const int top = item.kind == Kind::Header ? 14 : 4;
    const QRect place = row.adjusted(leftOf(item), top, -side, -2);
    painter->drawText(place, wrapping(item.text, painter->fontMetrics(), place.width()), item.text);
}

void RunDetailRow::paintFile(QPainter *painter, const QStyleOptionViewItem &option, const Item &item) {
    const QRect row = option.rect;
    const QPalette &palette = option.palette;
    const QColor glyphColour = item.change ? PairPalette::colour(1, palette) : tintOf(item, palette);
    drawGlyph(painter, item.symbol, 18, QPointF(row.left() + side, row.center().y() - 9), glyphColour);
    int left = row.left() + textLeft + 4;
    int right = row.right() - side;
    if (item.change) {
        left += paintTag(painter, option, item);
        const QRect button = buttonRect(row);
        drawGlyph(painter, QStringLiteral("magnifyingglass"), 14, QPointF(button.center()) - QPointF(7, 7),
                  Theme::secondary(palette));
        const QFont sizeFont = Theme::font(Theme::Type::Caption);
        const QString size = Fmt::byteCount(item.change->size);
        const int sizeWidth = QFontMetrics(sizeFont).horizontalAdvance(size);
        right = button.left() - 8 - sizeWidth;
        painter->setFont(sizeFont);
        painter->setPen(Theme::secondary(palette));
        painter->drawText(QRect(right, row.top(), sizeWidth + 2, row.height()), Qt::AlignVCenter, size);
        right -= 12;
    }
    const auto line = [&](int top, const QFont &font, const QColor &colour, const QString &text) {
        painter->setFont(font);
        painter->setPen(colour);
        painter->drawText(QRect(left, row.top() + Theme::scaled(top), right - left, Theme::scaled(18)),
                          Qt::AlignVCenter, QFontMetrics(font).elidedText(text, Qt::ElideMiddle, right - left));
    };
    line(5, Theme::font(Theme::Type::Body), Theme::primary(palette, 1), item.text);
    line(23, Theme::font(Theme::Type::Caption), Theme::secondary(palette), item.detail);
}

int RunDetailRow::paintTag(QPainter *painter, const QStyleOptionViewItem &option, const Item &item) {
    const bool isNew = item.change->kind == ChangeKind::added;
    const QString text = isNew ? QStringLiteral("NEW") : QStringLiteral("UPDATED");
    const QColor colour = isNew ? Theme::good(option.palette) : Theme::accent(option.palette);
    const QFont font = Theme::sized(9, QFont::Bold);
    const QFontMetrics metrics(font);
    const QRectF tag(option.rect.left() + textLeft + 4, option.rect.center().y() - metrics.height() / 2.0 - 2,
                     metrics.horizontalAdvance(text) + 10, metrics.height() + 4);
    painter->setPen(Qt::NoPen);
    painter->setBrush(Theme::faded(colour, Theme::tagFill));
    painter->drawRoundedRect(tag, 4, 4);
    painter->setFont(font);
    painter->setPen(Theme::onPaleFill(colour, option.palette));
    painter->drawText(tag, Qt::AlignCenter, text);
    return static_cast<int>(tag.width()) + 10;
}

QSize RunDetailRow::sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const {
    const Item &item = itemAt(index);
    if (item.kind == Kind::Change || item.kind == Kind::NameSkip)
        return {width, Theme::scaled(46)};
    const QFontMetrics metrics(fontOf(item));
    const int room = width - leftOf(item) - side;
    int height = metrics.height();
    // Most lines fit; only the others are laid out.
    if (metrics.horizontalAdvance(item.text) > room || item.text.contains(u'\n'))
        height = metrics.boundingRect(0, 0, room, 100'000, wrapping(item.text, metrics, room), item.text).height();
    return {width, height + (item.kind == Kind::Header ? 22 : 10)};
}

bool RunDetailRow::editorEvent(QEvent *event, QAbstractItemModel *, const QStyleOptionViewItem &option,
                               const QModelIndex &index) {
    const Item &item = itemAt(index);
    if (!item.change || event->type() != QEvent::MouseButtonRelease)
        return false;
    const auto *mouse = static_cast<QMouseEvent *>(event);
    if (mouse->button() != Qt::LeftButton || !buttonRect(option.rect).contains(mouse->pos()))
        return false;
    show(*item.change);
    return true;
}

bool RunDetailRow::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                             const QModelIndex &index) {
    if (!index.isValid() || !itemAt(index).change)
        return false;
    const bool isOnButton = buttonRect(option.rect).contains(event->pos());
    QToolTip::showText(event->globalPos(),
                       isOnButton ? QStringLiteral("Show in File Manager") : QStringLiteral("Copied to OneDrive"),
                       view);
    return true;
}
