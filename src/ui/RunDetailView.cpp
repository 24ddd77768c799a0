#include "ui/RunDetailView.h"

#include "base/Text.h"
#include "desktop/FileManager.h"
#include "ui/Glyph.h"
#include "ui/Labels.h"
#include "ui/RunDetailModel.h"
#include "ui/RunDetailRow.h"
#include "ui/StatTile.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListView>
#include <QMenu>
#include <QResizeEvent>

#include <algorithm>

namespace {

/// How many milliseconds nobody notices in a window that follows the pointer.
constexpr qint64 fluent = 20;

/// Does it with the file; sounds the alert when it is gone.
void withFile(const QString &path, void (*action)(const std::filesystem::path &file)) {
    const std::filesystem::path file = Text::toPath(path);
    std::error_code error;
    if (std::filesystem::exists(file, error))
        action(file);
    else
        QApplication::beep();
}

} // namespace

RunDetailView::RunDetailView(QWidget *parent)
    : QWidget(parent), icon(new GlyphView({}, 28)), headline(Labels::wrapping({}, Theme::sized(16, QFont::DemiBold))),
      meta(Labels::wrapping({}, Theme::font(Theme::Type::Callout), Labels::Strength::Secondary)),
      items(new RunDetailModel(this)),
      rows(new RunDetailRow([](const ChangeRecord &change) { showFile(change.path); }, this)), list(new QListView) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeHeader());
    auto *figures = new QHBoxLayout;
    figures->setContentsMargins(16, 0, 16, 10);
    figures->setSpacing(10);
    for (StatTile *&tile : tiles)
        figures->addWidget(tile = new StatTile, 1);
    layout->addLayout(figures);
    list->setModel(items);
    list->setItemDelegate(rows);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setMouseTracking(true);
    list->setTabKeyNavigation(false);
    list->setAccessibleName(QStringLiteral("What the sync did"));
    list->installEventFilter(this);
    list->viewport()->installEventFilter(this);
    layOutLater.setSingleShot(true);
    layOutLater.setInterval(100);
    connect(&layOutLater, &QTimer::timeout, this, &RunDetailView::layOutLines);
    connect(list, &QListView::activated, this, [this](const QModelIndex &index) {
        if (const QString &path = items->itemAt(index).path; !path.isEmpty())
            showFile(path);
    });
    list->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(list, &QListView::customContextMenuRequested, this, &RunDetailView::popUpMenu);
    layout->addWidget(list, 1);
}

QWidget *RunDetailView::makeHeader() {
    auto *header = new QWidget;
    auto *layout = new QHBoxLayout(header);
    layout->setContentsMargins(16, 14, 16, 12);
    layout->setSpacing(12);
    auto *column = new QVBoxLayout;
    column->setSpacing(3);
    column->addWidget(headline);
    column->addWidget(meta);
    layout->addWidget(icon, 0, Qt::AlignVCenter);
    layout->addLayout(column, 1);
    return header;
}

void RunDetailView::render(const SyncRun &shown) {
    meta->setText(RunText::meta(shown));
    icon->setColour(RunText::iconColour(shown, palette()));
    // Runs never change, so the one that is shown already need not be laid out again.
    if (run && run->id == shown.id)
        return;
    items->setItems({});
    run = shown;
    takesLong = false;
    icon->setSymbol(RunText::headerIcon(*run));
    headline->setText(run->headline());
    const std::vector<RunText::Tile> figures = RunText::tiles(*run);
    for (std::size_t i = 0; i < tiles.size(); ++i)
        tiles[i]->render(figures[i]);
    items->setItems(RunText::items(*run));
    list->scrollToTop();
}

bool RunDetailView::eventFilter(QObject *object, QEvent *event) {
    if (object == list->viewport() && event->type() == QEvent::Resize) {
        rows->setWidth(static_cast<QResizeEvent *>(event)->size().width());
        if (takesLong)
            layOutLater.start();
        else
            layOutLines(); // by itself the list would keep the heights of before
    }
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->matches(QKeySequence::Copy)) {
        copySelected();
        return true;
    }
    return QWidget::eventFilter(object, event);
}

void RunDetailView::layOutLines() {
    QElapsedTimer clock;
    clock.start();
    list->doItemsLayout();
    takesLong = clock.elapsed() > fluent;
}

void RunDetailView::copySelected() const {
    QModelIndexList selected = list->selectionModel()->selectedIndexes();
    std::sort(selected.begin(), selected.end());
    QStringList lines;
    for (const QModelIndex &index : selected) {
        const RunText::Item &item = items->itemAt(index);
        lines.append(item.path.isEmpty() ? item.text : item.path);
    }
    QApplication::clipboard()->setText(lines.join(u'\n'));
}

void RunDetailView::popUpMenu(const QPoint &place) {
    QModelIndex index = list->indexAt(place);
    // The menu key means the current line, wherever the pointer is.
    if (!index.isValid() || !list->visualRect(index).contains(place))
        index = list->currentIndex();
    if (!index.isValid())
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillContextMenu(*menu, items->itemAt(index));
    if (menu->isEmpty())
        delete menu;
    else
        menu->popup(list->viewport()->mapToGlobal(place));
}

void RunDetailView::fillContextMenu(QMenu &menu, const RunText::Item &item) {
    if (item.path.isEmpty())
        return;
    menu.addAction(QStringLiteral("Open"), &menu, [path = item.path] { withFile(path, &FileManager::open); });
    menu.addAction(QStringLiteral("Show in File Manager"), &menu, [path = item.path] { showFile(path); });
    menu.addSeparator();
    menu.addAction(QStringLiteral("Copy Path"), &menu,
                   [path = item.path] { QApplication::clipboard()->setText(path); });
}

void RunDetailView::showFile(const QString &path) {
    withFile(path, &FileManager::show);
}
