#include "ui/ActivityView.h"

#include "model/AppModel.h"
#include "ui/BannerView.h"
#include "ui/EmptyStateView.h"
#include "ui/Labels.h"
#include "ui/RunDetailView.h"
#include "ui/RunListModel.h"
#include "ui/Separator.h"

#include <QHBoxLayout>
#include <QListView>

ActivityView::ActivityView(AppModel &appModel, QWidget *parent)
    : QWidget(parent), model(appModel),
      banner(new BannerView(QStringLiteral("info.circle.fill"), [this] { model.setBanner(std::nullopt); })),
      empty(new EmptyStateView(QStringLiteral("clock.arrow.circlepath"), QStringLiteral("No syncs yet"),
                               QStringLiteral("Every sync is listed here with exactly which files were copied, so you "
                                              "can open them in the file manager."))),
      runs(new RunListModel(this)), list(new QListView), detail(new RunDetailView) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(banner);
    layout->addWidget(bar = makeBar());
    layout->addWidget(empty, 1);
    layout->addWidget(history = makeHistory(), 1);
}

QWidget *ActivityView::makeBar() {
    auto *whole = new QWidget;
    auto *layout = new QVBoxLayout(whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    QLabel *text = Labels::make(QStringLiteral("Every sync, with the files it copied"),
                                Theme::font(Theme::Type::Callout), Labels::Strength::Secondary);
    text->setContentsMargins(16, 6, 16, 0);
    layout->addWidget(text);
    layout->addWidget(new Separator);
    return whole;
}

QWidget *ActivityView::makeHistory() {
    auto *both = new QWidget;
    auto *layout = new QHBoxLayout(both);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    list->setModel(runs);
    list->setItemDelegate(new RunListRow(list));
    list->setFixedWidth(Theme::scaled(280));
    list->setMouseTracking(true);
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setAccessibleName(QStringLiteral("Syncs, newest first"));
    connect(list->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex &index) {
        if (index.isValid() && !isRendering)
            model.setSelectedRunID(runs->entryAt(index).id);
    });
    layout->addWidget(list);
    layout->addWidget(new Separator(Qt::Vertical));
    layout->addWidget(detail, 1);
    return both;
}

void ActivityView::render() {
    renderBanner();
    empty->setVisible(model.history().empty());
    history->setVisible(!model.history().empty());
    isRendering = true;
    runs->setRuns(model.history());
    renderSelection();
    isRendering = false;
}

void ActivityView::setCompact(bool compact) {
    isCompact = compact;
    bar->setVisible(!isCompact);
    renderBanner();
}

void ActivityView::renderBanner() {
    banner->render(isCompact ? std::nullopt : model.banner(), Theme::accent(palette()));
}

void ActivityView::renderSelection() {
    const std::vector<SyncRun> &shown = model.history();
    if (shown.empty())
        return;
    QModelIndex selected = model.selectedRunID() ? runs->indexOf(*model.selectedRunID()) : QModelIndex();
    if (!selected.isValid())
        selected = runs->index(0);
    if (list->currentIndex() != selected)
        list->setCurrentIndex(selected);
    detail->render(shown.at(static_cast<std::size_t>(selected.row())));
}
