#include "ui/SettingsView.h"

#include "base/Text.h"
#include "desktop/FileManager.h"
#include "desktop/LoginItem.h"
#include "desktop/Notifier.h"
#include "model/AppModel.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/Store.h"
#include "ui/Buttons.h"
#include "ui/Card.h"
#include "ui/ClientsPage.h"
#include "ui/FolderPanel.h"
#include "ui/Glyph.h"
#include "ui/Labels.h"
#include "ui/SettingsText.h"
#include "ui/Switch.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QMenu>
#include <QPointer>

#include <utility>

namespace {

using Strength = Labels::Strength;

/// A titled group of the form; its parts go into the card's layout.
QWidget *group(const QString &title, Card *card) {
    auto *whole = new QWidget;
    auto *column = new QVBoxLayout(whole);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(7);
    QLabel *heading = Labels::make(title, Theme::font(Theme::Type::Body, QFont::DemiBold), Strength::Secondary);
    heading->setContentsMargins(6, 0, 0, 0);
    column->addWidget(heading);
    column->addWidget(card);
    return whole;
}

QVBoxLayout *columnOf(Card *card) {
    auto *column = new QVBoxLayout(card);
    column->setContentsMargins(16, 12, 16, 12);
    column->setSpacing(10);
    return column;
}

QHBoxLayout *labelled(const QString &symbol, Theme::Tint tint, QLabel *text) {
    auto *row = new QHBoxLayout;
    row->setSpacing(12);
    auto *glyph = new GlyphView(symbol, 16);
    glyph->setTint(tint);
    row->addWidget(glyph, 0, Qt::AlignTop);
    row->addWidget(text, 1);
    return row;
}

bool isThere(const std::filesystem::path &file) {
    std::error_code error;
    return std::filesystem::exists(file, error);
}

void openOrShowFolder(const std::filesystem::path &file) {
    FileManager::open(isThere(file) ? file : file.parent_path());
}

} // namespace

SettingsView::SettingsView(AppModel &appModel, QWidget *parent)
    : ScrolledColumn(QMargins(20, 16, 20, 24), 20, parent), model(appModel),
      autoSync(new Switch(QStringLiteral("Sync automatically when the drive is connected"))),
      login(new Switch(QStringLiteral("Open Tarnwick Basic at login (needed for automatic sync)"))),
      loginError(Labels::wrapping({}, Theme::font(Theme::Type::Caption), Strength::Warning)),
      oneDrive(new ElidedLabel(Theme::font(Theme::Type::Body))),
      oneDriveNotice(Labels::wrapping({}, Theme::font(Theme::Type::Caption), Strength::Warning)),
      clients(Buttons::make(QStringLiteral("About OneDrive Clients…"))),
      notifications(new Switch(QStringLiteral("Show a notification when a sync finishes"))) {
    for (QWidget *part : {makeAutomaticSync(), makeOneDrive(), makeNotifications(), makeSafety(), makeHelp()})
        column()->addWidget(part);
    column()->addStretch();
}

QWidget *SettingsView::makeAutomaticSync() {
    auto *card = new Card;
    QVBoxLayout *column = columnOf(card);
    connect(autoSync, &Switch::toggled, this, [this](bool on) {
        AppConfig next = model.config();
        next.autoSyncOnConnect = on;
        model.setConfig(next);
    });
    connect(login, &Switch::toggled, this, [this](bool on) { setLogin(on); });
    column->addWidget(autoSync);
    column->addWidget(login);
    column->addWidget(loginError);
    return group(QStringLiteral("Automatic sync"), card);
}

QWidget *SettingsView::makeOneDrive() {
    auto *card = new Card;
    QVBoxLayout *column = columnOf(card);
    auto *change = new QToolButton;
    change->setText(QStringLiteral("Change"));
    change->setProperty("look", QStringLiteral("button"));
    change->setIcon(Glyph::icon(QStringLiteral("chevron.down"), Theme::secondary));
    change->setIconSize({12, 12});
    change->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    change->setLayoutDirection(Qt::RightToLeft); // the arrow behind the text
    change->setAccessibleName(QStringLiteral("Change the OneDrive folder"));
    change->setToolTip(QStringLiteral("Choose another OneDrive folder"));
    change->setPopupMode(QToolButton::InstantPopup);
    change->setFocusPolicy(Qt::StrongFocus);
    auto *menu = new QMenu(change);
    menu->setLayoutDirection(Qt::LeftToRight);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { fillChangeMenu(*menu); });
    change->setMenu(menu);
    oneDrive->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto *row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(Labels::make(QStringLiteral("OneDrive folder"), Theme::font(Theme::Type::Body)));
    row->addWidget(oneDrive, 1);
    row->addWidget(change);
    column->addLayout(row);
    connect(clients, &QPushButton::clicked, this, &SettingsView::showClients);
    auto *notice = new QHBoxLayout;
    notice->setSpacing(12);
    notice->addWidget(oneDriveNotice, 1);
    notice->addWidget(clients);
    column->addLayout(notice);
    column->addLayout(
        labelled(QStringLiteral("checkmark.shield"), Theme::secondary,
                 Labels::wrapping(SettingsText::nameRules(), Theme::font(Theme::Type::Caption), Strength::Secondary)));
    return group(QStringLiteral("OneDrive"), card);
}

QWidget *SettingsView::makeNotifications() {
    auto *card = new Card;
    connect(notifications, &Switch::toggled, this, [this](bool on) {
        AppConfig next = model.config();
        if (std::exchange(next.notifications, on) == on)
            return; // only shown, not wished for
        model.setConfig(next);
        if (on)
            Notifier::requestAuthorization();
    });
    columnOf(card)->addWidget(notifications);
    return group(QStringLiteral("Notifications"), card);
}

QWidget *SettingsView::makeSafety() {
    auto *card = new Card;
    QVBoxLayout *column = columnOf(card);
    for (const SettingsText::SafetyLine &line : SettingsText::safetyLines())
        column->addLayout(
            labelled(line.icon, Theme::accent, Labels::wrapping(line.text, Theme::font(Theme::Type::Callout))));
    return group(QStringLiteral("How Tarnwick Basic keeps your files safe"), card);
}

QWidget *SettingsView::makeHelp() {
    auto *card = new Card;
    QPushButton *openLog = Buttons::make(QStringLiteral("Open Log"));
    // Neither file need exist yet: then the folder that it will be in is shown.
    connect(openLog, &QPushButton::clicked, this, [] { openOrShowFolder(Log::shared().url()); });
    QPushButton *showFolder = Buttons::make(QStringLiteral("Show Settings Folder"));
    connect(showFolder, &QPushButton::clicked, this, [] {
        const std::filesystem::path file = Store::supportDir() / "config.json";
        if (isThere(file))
            FileManager::show(file);
        else
            FileManager::open(file.parent_path());
    });
    const QString build = QCoreApplication::instance()->property("buildNumber").toString();
    auto *row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(openLog);
    row->addWidget(showFolder);
    row->addStretch(1);
    row->addWidget(Labels::make(SettingsText::version(QCoreApplication::applicationVersion(), build),
                                Theme::font(Theme::Type::Callout), Strength::Secondary));
    columnOf(card)->addLayout(row);
    return group(QStringLiteral("Help"), card);
}

void SettingsView::render() {
    autoSync->setChecked(model.config().autoSyncOnConnect);
    notifications->setChecked(model.config().notifications);
    const std::optional<QString> folder = SettingsText::oneDriveFolder(model);
    oneDrive->setText(folder.value_or(SettingsText::noOneDriveFolder(model)));
    Labels::setStrength(oneDrive, folder ? Strength::Secondary : Strength::Warning);
    const std::optional<QString> notice = choiceRefusal ? choiceRefusal : SettingsText::oneDriveNotice(model);
    oneDriveNotice->setText(notice.value_or(QString()));
    oneDriveNotice->setVisible(notice.has_value());
    clients->setVisible(!folder);
    loginError->setVisible(!loginError->text().isEmpty());
}

void SettingsView::showEvent(QShowEvent *event) {
    ScrolledColumn::showEvent(event);
    refreshLogin();
}

void SettingsView::refreshLogin() {
    const QSignalBlocker blocker(login); // what is shown is no wish of the user's
    login->setChecked(LoginItem::isEnabled());
}

void SettingsView::setLogin(bool enabled) {
    loginError->setText(LoginItem::set(enabled).value_or(QString()));
    refreshLogin();
    render();
}

void SettingsView::fillChangeMenu(QMenu &menu) {
    menu.clear();
    for (const Locations::OneDriveFolder &folder : model.oneDriveFolders()) {
        QAction *action = menu.addAction(SettingsText::oneDriveChoice(folder, model.oneDriveFolders()), this,
                                         [this, url = folder.url] { useOneDriveFolder(url); });
        action->setCheckable(true);
        action->setChecked(folder.url == model.oneDriveRoot());
    }
    if (!model.oneDriveFolders().empty())
        menu.addSeparator();
    menu.addAction(QStringLiteral("Choose Another Folder…"), this, [this] { chooseOneDriveFolder(); });
    menu.addAction(QStringLiteral("Detect Automatically"), this, [this] { useOneDriveFolder(std::nullopt); });
}

void SettingsView::chooseOneDriveFolder() {
    const std::optional<std::filesystem::path> chosen = FolderPanel::choose(
        this, {QStringLiteral("Choose OneDrive Folder"),
               QStringLiteral("Choose the top folder of your OneDrive (usually in your home folder)."),
               QStringLiteral("Use This Folder"), Locations::homeURL(), FolderPanel::placesOf(model)});
    if (chosen)
        useOneDriveFolder(*chosen);
}

void SettingsView::useOneDriveFolder(const std::optional<std::filesystem::path> &folder) {
    model.chooseOneDrive(folder, [view = QPointer(this)](const std::optional<QString> &refusal) {
        if (!view)
            return;
        view->choiceRefusal = refusal;
        view->render();
    });
}

void SettingsView::showClients() {
    auto *page = new ClientsPage(this);
    page->setAttribute(Qt::WA_DeleteOnClose);
    page->show();
}
