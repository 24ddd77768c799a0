#include "app/StatusItem.h"

#include "app/BrandGlyph.h"
#include "app/StatusText.h"
#include "model/AppModel.h"
#include "ui/SyncCardText.h"

#include <QAction>
#include <QGuiApplication>
#include <QKeySequence>
#include <QPalette>

namespace {

/// A text with names of the user's in the menu, where some signs underline the letter behind them: "&" in Qt's own, "_"
/// in that of a StatusNotifier host. For the latter Qt turns the first "&" into "_" and leaves the others.
QString plain(QString text, StatusHost::Kind kind) {
    if (kind == StatusHost::Kind::Older)
        return text.replace(u'&', QStringLiteral("&&"));
    text.replace(u'_', QStringLiteral("__"));
    const qsizetype first = text.indexOf(u'&');
    return first < 0 ? text : text.insert(first, u'&');
}

} // namespace

StatusItem::StatusItem(AppModel &appModel, Commands menuCommands) : model(appModel), commands(std::move(menuCommands)) {
    makeMenu();
    connect(&host, &StatusHost::found, this, &StatusItem::appear);
}

void StatusItem::makeMenu() {
    statusLine = menu.addAction(QString());
    statusLine->setEnabled(false);
    lastSync = menu.addAction(QString(), this, [this] { commands.showActivity(); });
    menu.addSeparator();
    syncOrStop = menu.addAction(QString(), this, [this] { model.busy() ? commands.cancelSync() : commands.syncNow(); });
    menu.addSeparator();
    menu.addAction(QStringLiteral("Open Tarnwick Basic…"), this, [this] { commands.showWindow(); });
    automatic = menu.addAction(QStringLiteral("Sync When Drive Connects"), this, [this] { commands.toggleAuto(); });
    automatic->setCheckable(true);
    menu.addSeparator();
    menu.addAction(QStringLiteral("Quit Tarnwick Basic"), QKeySequence(Qt::CTRL | Qt::Key_Q), this,
                   [this] { commands.quit(); });
    connect(&menu, &QMenu::aboutToShow, this, [this] {
        model.refreshEnvironment();
        update(); // what is said of yesterday, too
    });
}

void StatusItem::appear(StatusHost::Kind found) {
    kind = found;
    item = std::make_unique<QSystemTrayIcon>();
    item->setContextMenu(&menu);
    connect(item.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            commands.showWindow();
    });
    update();
    item->show();
}

void StatusItem::update() {
    if (!item)
        return;
    updateIcon();
    updateMenu();
    // Panels show no title beside the icon, but the tooltip has room for it.
    const QString toolTip = StatusText::tooltip(model) + StatusText::title(model);
    if (std::exchange(shownToolTip, toolTip) != toolTip)
        item->setToolTip(toolTip);
}

void StatusItem::updateIcon() {
    const QColor ink = QGuiApplication::palette().color(QPalette::WindowText);
    const bool badge = StatusText::badgeIsShown(model);
    const QString shown = ink.name() + QString::number(badge) + StatusText::title(model);
    if (std::exchange(shownIcon, shown) == shown)
        return;
    std::optional<double> done;
    if (model.busy())
        done = SyncCardText::isCopying(model) ? SyncCardText::fraction(model.progress()) : 0;
    item->setIcon(BrandGlyph::icon(ink, badge, done));
}

void StatusItem::updateMenu() {
    statusLine->setText(plain(StatusText::statusLine(model), kind));
    const std::optional<QString> last = StatusText::lastSync(model);
    lastSync->setText(plain(last.value_or(QString()), kind));
    lastSync->setVisible(last.has_value());
    syncOrStop->setText(model.busy() ? QStringLiteral("Stop Sync") : QStringLiteral("Sync Now"));
    syncOrStop->setEnabled(model.busy() || model.canSync());
    automatic->setChecked(model.config().autoSyncOnConnect);
}
