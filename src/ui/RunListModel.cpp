#include "ui/RunListModel.h"

#include "base/Fmt.h"
#include "ui/Glyph.h"
#include "ui/RunText.h"
#include "ui/SyncCardText.h"
#include "ui/Theme.h"

#include <QPainter>
#include <QStringList>
#include <QTextDocument>

#include <algorithm>

void RunListModel::setRuns(const std::vector<SyncRun> &history) {
    std::vector<Entry> next;
    for (const SyncRun &run : history)
        next.push_back({run.id, Fmt::when(run.finished), run.headline(), label(run.trigger), RunText::listIcon(run),
                        SyncCardText::isClean(run)});
    const auto isSame = [](const Entry &a, const Entry &b) { return a.id == b.id; };
    if (std::equal(next.begin(), next.end(), entries.begin(), entries.end(), isSame)) {
        entries = std::move(next); // another day turns "Today" into "Yesterday"
        if (!entries.empty())
            Q_EMIT dataChanged(index(0), index(rowCount() - 1));
        return;
    }
    beginResetModel();
    entries = std::move(next);
    endResetModel();
}

QModelIndex RunListModel::indexOf(const QUuid &id) const {
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry &entry) { return entry.id == id; });
    return found == entries.end() ? QModelIndex() : index(static_cast<int>(found - entries.begin()));
}

int RunListModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries.size());
}

QVariant RunListModel::data(const QModelIndex &index, int role) const {
    const Entry &entry = entryAt(index);
    if (role == Qt::ToolTipRole)
        return Qt::convertFromPlainText(entry.headline);
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
        return QStringList{entry.when, entry.headline, entry.trigger}.join(QStringLiteral(", "));
    return {};
}

namespace {

constexpr int aboveFirst = 6; // with the row's own inset as far from the separator as from the sides

} // namespace

void RunListRow::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const {
    const RunListModel::Entry &entry = static_cast<const RunListModel *>(index.model())->entryAt(index);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const QRect area = option.rect.adjusted(8, index.row() == 0 ? aboveFirst + 2 : 2, -8, -2);
    if (isSelected || option.state.testFlag(QStyle::State_MouseOver)) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(isSelected ? Theme::faded(Theme::accent(option.palette), 0.18)
                                     : Theme::primary(option.palette, 0.05));
        painter->drawRoundedRect(area, 8, 8);
    }
    if (option.state.testFlag(QStyle::State_HasFocus)) {
        painter->setPen(QPen(Theme::accent(option.palette), 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(area).adjusted(1, 1, -1, -1), 8, 8);
    }
    painter->drawPixmap(area.left() + 10, area.top() + 9,
                        Glyph::pixmap(entry.icon, 16,
                                      entry.isClean ? Theme::good(option.palette) : Theme::warning(option.palette),
                                      painter->device()->devicePixelRatioF()));
    const QRect text = area.adjusted(36, 7, -10, -7);
    const auto line = [&](int top, const QFont &font, const QColor &colour, const QString &content) {
        painter->setFont(font);
        painter->setPen(colour);
        const QRect place(text.left(), text.top() + Theme::scaled(top), text.width(), Theme::scaled(17));
        painter->drawText(place, Qt::AlignLeft | Qt::AlignVCenter,
                          QFontMetrics(font).elidedText(content, Qt::ElideRight, place.width()));
    };
    line(0, Theme::sized(12, QFont::DemiBold), Theme::primary(option.palette, 1), entry.when);
    line(17, Theme::font(Theme::Type::Caption), Theme::secondary(option.palette), entry.headline);
    line(34, Theme::font(Theme::Type::Smallest), Theme::tertiary(option.palette), entry.trigger);
    painter->restore();
}

QSize RunListRow::sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const {
    return {240, Theme::scaled(70) + (index.row() == 0 ? aboveFirst : 0)};
}
