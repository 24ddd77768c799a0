#include "ui/MainView.h"

#include "model/AppModel.h"
#include "ui/ActivityView.h"
#include "ui/AddFolderSheet.h"
#include "ui/FoldersView.h"
#include "ui/HeaderBar.h"
#include "ui/Labels.h"
#include "ui/Separator.h"
#include "ui/SettingsView.h"
#include "ui/SyncCard.h"
#include "ui/TabSwitch.h"

#include <QAction>
#include <QEvent>
#include <QStackedWidget>
#include <QVBoxLayout>

MainView::MainView(AppModel &appModel, QWidget *parent)
    : QWidget(parent), model(appModel), syncNow(makeSyncNow()), header(new HeaderBar(model)),
      card(new SyncCard(model, syncNow)), tabs(new TabSwitch([this](MainTab tab) {
          if (tab != model.tab())
              model.setTab(tab);
      })),
      content(new QStackedWidget), folders(new FoldersView(model)), activity(new ActivityView(model)),
      settings(new SettingsView(model)) {
    setMinimumSize(880, 620);
    setAutoFillBackground(true);
    for (QWidget *tab : std::initializer_list<QWidget *>{folders, activity, settings})
        content->addWidget(tab);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(header);
    auto *cardRow = new QHBoxLayout;
    cardRow->setContentsMargins(20, 0, 20, 0);
    cardRow->addWidget(card);
    layout->addLayout(cardRow);
    layout->addWidget(makeTabBar());
    layout->addWidget(new Separator);
    layout->addWidget(content, 1);
    // No control is marked before the user reaches for the keyboard.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();
    connect(&model, &AppModel::changed, this, &MainView::render);
    connect(&model, &AppModel::progressChanged, card, &SyncCard::render);
    render();
}

QAction *MainView::makeSyncNow() {
    auto *action = new QAction(QStringLiteral("Sync Now"), this);
    action->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_S));
    connect(action, &QAction::triggered, this, [this] { model.sync(std::nullopt, SyncTrigger::manual); });
    addAction(action);
    return action;
}

QWidget *MainView::makeTabBar() {
    auto *bar = new QWidget;
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(20, 14, 20, 12);
    layout->addStretch();
    layout->addWidget(tabs);
    layout->addStretch();
    return bar;
}

void MainView::render() {
    header->render();
    card->render();
    tabs->render(model.tab());
    content->setCurrentIndex(static_cast<int>(model.tab()));
    renderTab();
    renderSheet();
}

/// Only the one that is shown: a change of the tab renders, too.
void MainView::renderTab() {
    switch (model.tab()) {
    case MainTab::folders:
        return folders->render();
    case MainTab::activity:
        return activity->render();
    case MainTab::settings:
        return settings->render();
    }
}

void MainView::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::StyleChange)
        return;
    // Later, because the style sheet gives other widgets their old palette back after this.
    const auto takeOver = [this] {
        Labels::takeOverPalette(*this);
        folders->render();
        activity->render();
        settings->render();
        render();
    };
    QMetaObject::invokeMethod(this, takeOver, Qt::QueuedConnection);
}

void MainView::renderSheet() {
    if (!model.showingAddFolder()) {
        if (sheet)
            sheet->reject();
        return;
    }
    if (sheet)
        return sheet->render();
    sheet = new AddFolderSheet(model, this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet, &QDialog::finished, this, [this] { model.setShowingAddFolder(false); });
    sheet->open();
}
