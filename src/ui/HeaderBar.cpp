#include "ui/HeaderBar.h"

#include "model/AppModel.h"
#include "store/Locations.h"
#include "ui/AppIcon.h"
#include "ui/Labels.h"
#include "ui/OneDriveText.h"
#include "ui/StatusChip.h"

#include <QHBoxLayout>
#include <QStringList>

namespace HeaderText {

QString drives(const AppModel &model) {
    if (!model.hasLooked())
        return QStringLiteral("Looking for drives…");
    const std::vector<QString> names = model.connectedDriveNames();
    if (!names.empty())
        return QStringList(names.begin(), names.end()).join(QStringLiteral(", "));
    return model.hasHomePairs() ? Locations::shownHomeName : QStringLiteral("No drive connected");
}

bool drivesAreOk(const AppModel &model) {
    return !model.hasLooked() || !model.volumes().empty() || model.hasHomePairs();
}

QString oneDrive(const AppModel &model) {
    const Locations::OneDriveInUse oneDrive = model.oneDriveInUse();
    return oneDrive.root ? OneDriveText::displayName(*oneDrive.root) : OneDriveText::absence(oneDrive.state);
}

} // namespace HeaderText

HeaderBar::HeaderBar(AppModel &appModel, QWidget *parent)
    : QWidget(parent), model(appModel), icon(new AppIconView(54)),
      tagline(Labels::make(QStringLiteral("Free backup of your folders to OneDrive"), Theme::font(Theme::Type::Callout),
                           Labels::Strength::Secondary)),
      driveChip(new StatusChip(QStringLiteral("externaldrive.fill"))),
      oneDriveChip(new StatusChip(QStringLiteral("cloud.fill"))) {
    auto *layout = new QHBoxLayout(this);
    layout->setSpacing(8);
    layout->addWidget(icon);
    layout->addSpacing(4);
    auto *titles = new QVBoxLayout;
    titles->setSpacing(1);
    titles->addStretch();
    titles->addWidget(Labels::make(QStringLiteral("Tarnwick Basic"), Theme::font(Theme::Type::Title, QFont::Bold)));
    titles->addWidget(tagline);
    titles->addStretch();
    layout->addLayout(titles);
    layout->addStretch(1);
    layout->addWidget(driveChip);
    layout->addWidget(oneDriveChip);
    setCompact(false);
}

void HeaderBar::setCompact(bool isCompact) {
    layout()->setContentsMargins(isCompact ? QMargins(20, 8, 20, 8) : QMargins(20, 16, 20, 12));
    icon->setFixedSize(isCompact ? QSize(32, 32) : QSize(54, 54));
    tagline->setVisible(!isCompact);
}

void HeaderBar::render() {
    driveChip->render(HeaderText::drivesAreOk(model), HeaderText::drives(model));
    oneDriveChip->render(model.oneDriveRoot().has_value(), HeaderText::oneDrive(model));
}
