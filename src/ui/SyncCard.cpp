#include "ui/SyncCard.h"

#include "model/AppModel.h"
#include "ui/Buttons.h"
#include "ui/IconDisc.h"
#include "ui/Labels.h"
#include "ui/SyncCardText.h"

#include <QAction>
#include <QHBoxLayout>
#include <QProgressBar>

#include <algorithm>

namespace {

constexpr int barSteps = 1000;
constexpr int barHeight = 6; // as in the style sheet, which a bar that was never shown doesn't know yet
constexpr int lineSpacing = 4;

} // namespace

SyncCard::SyncCard(AppModel &appModel, QAction *syncNow, QWidget *parent)
    : Card(parent), model(appModel), syncNowAction(syncNow), disc(new IconDisc),
      title(new ElidedLabel(Theme::sized(16, QFont::DemiBold))), bar(new QProgressBar),
      subtitle(Labels::wrapping({}, Theme::font(Theme::Type::Callout))),
      currentFile(new ElidedLabel(Theme::font(Theme::Type::Callout))),
      reviewButton(Buttons::make(QStringLiteral("Review"), QStringLiteral("list.bullet.rectangle"))),
      syncButton(Buttons::make(QStringLiteral("Sync Now"), QStringLiteral("arrow.triangle.2.circlepath"),
                               Buttons::Look::LargeProminent)),
      cancelButton(Buttons::make(QStringLiteral("Cancel"))) {
    title->setSmallestScale(0.75);
    bar->setRange(0, barSteps);
    bar->setTextVisible(false);
    bar->setAccessibleName(QStringLiteral("Progress of the sync"));
    reviewButton->setToolTip(QStringLiteral("See the problems and what was skipped"));
    syncButton->setToolTip(QStringLiteral("Sync all ticked folders (Ctrl+S)"));
    cancelButton->setToolTip(QStringLiteral("Stop the sync safely; files already copied are kept"));
    connect(reviewButton, &QPushButton::clicked, this, &SyncCard::review);
    connect(syncButton, &QPushButton::clicked, syncNowAction, &QAction::trigger);
    connect(cancelButton, &QPushButton::clicked, &model, &AppModel::cancelSync);

    auto *column = new QVBoxLayout;
    column->setSpacing(lineSpacing);
    column->addStretch();
    for (QWidget *part : std::initializer_list<QWidget *>{title, bar, subtitle, currentFile})
        column->addWidget(part);
    column->addStretch();

    auto *layout = new QHBoxLayout(this);
    layout->setSpacing(14);
    layout->addWidget(disc);
    layout->addLayout(column, 1);
    for (QPushButton *button : {reviewButton, syncButton, cancelButton})
        layout->addWidget(button);
    setCompact(false);
}

void SyncCard::setCompact(bool isCompact) {
    const int air = isCompact ? 8 : 12;
    layout()->setContentsMargins(16, air, 16, air);
    // As high as while it copies, so that nothing below moves under the pointer when a sync begins.
    const int lines =
        title->sizeHint().height() + barHeight + subtitle->fontMetrics().height() + currentFile->sizeHint().height();
    setMinimumHeight(lines + 3 * lineSpacing + 2 * air);
}

void SyncCard::render() {
    const bool busy = model.busy();
    disc->render(SyncCardText::iconName(model), SyncCardText::iconColour(model, palette()), busy);
    title->setText(SyncCardText::title(model));
    title->updateGeometry();
    renderProgress();
    const QStringList lines = SyncCardText::subtitle(model).split(u'\n');
    subtitle->setText(lines.first());
    currentFile->setText(lines.value(1));
    currentFile->setVisible(lines.size() > 1);
    const auto strength =
        SyncCardText::subtitleIsWarning(model) ? Labels::Strength::Warning : Labels::Strength::Secondary;
    Labels::setStrength(subtitle, strength);
    Labels::setStrength(currentFile, strength);
    reviewButton->setVisible(SyncCardText::reviewIsShown(model));
    syncNowAction->setEnabled(model.canSync());
    syncButton->setEnabled(model.canSync());
    syncButton->setVisible(!busy);
    cancelButton->setVisible(busy);
}

void SyncCard::renderProgress() {
    const SyncProgress &progress = model.progress();
    const bool isCopying = SyncCardText::isCopying(model);
    bar->setVisible(isCopying);
    if (!isCopying) {
        shownProgress = 0;
        return;
    }
    const bool isDone = progress.filesDone >= progress.filesTotal;
    const int now = static_cast<int>(SyncCardText::fraction(progress) * barSteps);
    shownProgress = std::max(shownProgress, isDone ? now : std::min(now, barSteps - 1));
    bar->setValue(shownProgress);
}

void SyncCard::review() {
    if (const SyncRun *last = model.lastRun()) {
        model.setSelectedRunID(last->id);
        model.setTab(MainTab::activity);
    }
}
