#include "ui/FoldersView.h"

#include "model/AppModel.h"
#include "ui/BannerView.h"
#include "ui/Buttons.h"
#include "ui/ColumnTitle.h"
#include "ui/Connector.h"
#include "ui/EmptyStateView.h"
#include "ui/Labels.h"
#include "ui/OneDriveText.h"
#include "ui/PairRowView.h"
#include "ui/ScrolledColumn.h"
#include "ui/Separator.h"

#include <QHBoxLayout>

#include <algorithm>

namespace {

constexpr int side = 20;

QPushButton *addFolderButton(AppModel &model, Buttons::Look look) {
    QPushButton *button = Buttons::make(QStringLiteral("Add Folder…"), QStringLiteral("plus"), look);
    QObject::connect(button, &QPushButton::clicked, &model, &AppModel::requestAddFolder);
    return button;
}

} // namespace

FoldersView::FoldersView(AppModel &appModel, QWidget *parent)
    : QWidget(parent), model(appModel),
      banner(new BannerView(QStringLiteral("info.circle.fill"), [this] { model.setBanner(std::nullopt); })),
      originals(new ColumnTitle(QStringLiteral("externaldrive.fill"), QStringLiteral("ORIGINALS"))),
      oneDrive(new ColumnTitle(QStringLiteral("cloud.fill"), QStringLiteral("ONEDRIVE"))),
      empty(new EmptyStateView(
          QStringLiteral("folder.badge.plus"), QStringLiteral("Choose a folder to back up"),
          QStringLiteral("Pick a folder on your computer or on a drive, then choose where in OneDrive "
                         "it should be backed up."))),
      list(new ScrolledColumn(QMargins(side, 4, side, 16), 10)), column(list->column()) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(banner);
    layout->addWidget(makeHeadings());
    empty->addControl(addFolderButton(model, Buttons::Look::LargeProminent));
    layout->addWidget(empty, 1);
    column->addStretch();
    layout->addWidget(list, 1);
    layout->addWidget(new Separator);
    layout->addWidget(makeBottomBar());
}

QWidget *FoldersView::makeHeadings() {
    auto *headings = new QWidget;
    auto *layout = new QHBoxLayout(headings);
    layout->setContentsMargins(side, 14, side, 8);
    layout->setSpacing(0);
    QLabel *middle = Labels::make(QStringLiteral("SYNC"), Theme::font(Theme::Type::Smallest, QFont::Bold),
                                  Labels::Strength::Secondary);
    middle->setAlignment(Qt::AlignCenter);
    middle->setFixedWidth(Connector::columnWidth);
    layout->addWidget(originals, 1);
    layout->addWidget(middle);
    layout->addWidget(oneDrive, 1);
    return headings;
}

QWidget *FoldersView::makeBottomBar() {
    auto *bar = new QWidget;
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(side, 10, side, 12);
    layout->addStretch();
    layout->addWidget(addFolderButton(model, Buttons::Look::Prominent));
    return bar;
}

void FoldersView::render() {
    banner->render(model.banner(), Theme::accent(palette()));
    originals->setSubtitle(QStringLiteral("Folders you chose to back up"));
    oneDrive->setSubtitle(oneDriveSubtitle(model));
    renderRows();
    empty->setVisible(rows.empty());
    list->setVisible(!rows.empty());
}

void FoldersView::renderRows() {
    std::vector<PairRowView *> before = std::exchange(rows, {});
    QWidget *lastControl = banner->closeButton();
    for (const PairRow &row : model.rows()) {
        const auto found = std::find_if(before.begin(), before.end(),
                                        [&](const PairRowView *view) { return view && view->pairID() == row.pair.id; });
        PairRowView *view = found == before.end() ? new PairRowView(model, row) : std::exchange(*found, nullptr);
        view->render(row);
        const int place = static_cast<int>(rows.size());
        if (column->indexOf(view) != place)
            column->insertWidget(place, view);
        lastControl = view->follow(lastControl);
        rows.push_back(view);
    }
    for (PairRowView *gone : before) {
        if (!gone)
            continue;
        column->removeWidget(gone);
        gone->hide();
        gone->deleteLater(); // it may be the one that asked for its removal
    }
}

QString FoldersView::oneDriveSubtitle(const AppModel &appModel) {
    const Locations::OneDriveInUse oneDrive = appModel.oneDriveInUse();
    if (oneDrive.state == Locations::OneDriveInUse::State::Unknown)
        return OneDriveText::absence(oneDrive.state);
    return oneDrive.root ? QStringLiteral("Backups go into ") + OneDriveText::displayName(*oneDrive.root)
                         : OneDriveText::absence(oneDrive.state) + QStringLiteral(" — see Settings");
}
