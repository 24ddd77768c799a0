#include "app/AppDelegate.h"

#include "app/FolderCommands.h"
#include "app/MainWindow.h"
#include "app/ModelSession.h"
#include "app/StatusText.h"
#include "app/Version.h"
#include "app/Windows.h"
#include "desktop/LoginItem.h"
#include "desktop/Notifier.h"
#include "model/AppModel.h"
#include "store/Log.h"
#include "store/TestRoot.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <utility>

AppDelegate::AppDelegate(ModelSession &modelSession, Launch how)
    : session(modelSession), model(session.model()), launch(how) {
}

AppDelegate::~AppDelegate() {
    disconnect(&model, nullptr, this, nullptr);
    Notifier::whenClicked(nullptr);
    delete question;
    if (window)
        window->saveFrame();
}

void AppDelegate::applicationDidFinishLaunching() {
    Log::shared().write(QStringLiteral("Tarnwick Basic " TARNWICK_VERSION " started") +
                        (launch.atLogin ? QStringLiteral(" at login") : QString()));
    makeStatusItem();
    Notifier::whenClicked([this](const QString &activationToken) { showActivity(activationToken); });
    session.followDrives();
    followModel();
    const bool isFirstRun = !model.config().hasCompletedFirstRun;
    if (isFirstRun)
        completeFirstRun();
    model.start(launch.atLogin && !isFirstRun, [self = QPointer(this)] {
        // At login nothing is shown to who has chosen folders, be it that a drive has just brought them back.
        if (self && self->launch.atLogin && !self->launch.inBackground && self->model.config().pairs.empty())
            self->showWindow();
    });
    if (!launch.atLogin && !launch.inBackground)
        showWindow();
    openForTest();
}

void AppDelegate::followModel() {
    connect(&model, &AppModel::changed, statusItem.get(), &StatusItem::update);
    connect(&model, &AppModel::progressChanged, statusItem.get(), &StatusItem::update);
    // Whoever comes back to the window may have done something about a disk in the meantime.
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            model.refreshEnvironment();
    });
    connect(&model, &AppModel::runFinished, this, [this](const SyncRun &run) { runFinished(run); });
    connect(&model, &AppModel::stoppedForEject, this, [this](const std::filesystem::path &drive) { ejected = drive; });
}

void AppDelegate::makeStatusItem() {
    statusItem = std::make_unique<StatusItem>(
        model, StatusItem::Commands{[this] { showWindow(); }, [this] { showActivity(); }, [this] { syncNow(); },
                                    [this] { cancelSync(); }, [this] { toggleAuto(); },
                                    [this] { applicationShouldTerminate(); }});
    Windows::followColours(statusItem.get(), [this] { statusItem->update(); });
}

void AppDelegate::completeFirstRun() {
    AppConfig config = model.config();
    config.hasCompletedFirstRun = true;
    model.setConfig(config);
    LoginItem::set(true); // a failure is in the log
    Notifier::requestAuthorization();
}

void AppDelegate::showWindow(const QString &activationToken) {
    if (!window)
        window = std::make_unique<MainWindow>(
            model,
            MainWindow::Commands{[this] { addFolder(); }, [this] { showActivity(); }, [this] { showSettings(); },
                                 [this] { applicationShouldTerminate(); }, [this] { return statusItem->isShown(); }});
    // Automated runs must not take the keyboard away from whoever works at the same desktop.
    window->setAttribute(Qt::WA_ShowWithoutActivating, TestRoot::isActive());
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    // What has to be answered first keeps the keyboard.
    QWidget *front = QApplication::activeModalWidget() ? QApplication::activeModalWidget() : window.get();
    front->raise();
    if (!TestRoot::isActive()) {
        if (!activationToken.isEmpty())
            qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8()); // where Qt looks for it, and takes it away
        front->activateWindow();
    }
    model.refreshEnvironment();
}

void AppDelegate::showSettings() {
    model.setTab(MainTab::settings);
    showWindow();
}

void AppDelegate::showActivity(const QString &activationToken) {
    model.setTab(MainTab::activity);
    showWindow(activationToken);
}

void AppDelegate::addFolder(const QString &activationToken) {
    showWindow(activationToken);
    model.requestAddFolder();
}

void AppDelegate::syncNow() {
    model.sync(std::nullopt, SyncTrigger::manual);
}

void AppDelegate::syncFor(const std::vector<std::string> &namesOrIds, std::function<void(const SyncRun &)> ended,
                          const std::function<void(const QString &)> &refused) {
    if (model.busy())
        return refused(QStringLiteral("A sync is already running."));
    const FolderCommands::Chosen chosen = FolderCommands::chosen(model, namesOrIds);
    if (chosen.refusal)
        return refused(*chosen.refusal);
    whenEnded = std::move(ended);
    model.sync(chosen.ids, SyncTrigger::manual, [self = QPointer(this), refused](const std::optional<QString> &reason) {
        if (!reason)
            return;
        if (self)
            self->whenEnded = nullptr;
        refused(*reason);
    });
}

void AppDelegate::cancelSync() {
    model.cancelSync();
}

void AppDelegate::toggleAuto() {
    AppConfig config = model.config();
    config.autoSyncOnConnect = !config.autoSyncOnConnect;
    model.setConfig(config);
}

void AppDelegate::perform(const QString &action, const QString &activationToken) {
    if (action == QStringLiteral("add-folder"))
        return addFolder(activationToken);
    if (action == QStringLiteral("show-activity"))
        return showActivity(activationToken);
    if (action == QStringLiteral("show-settings"))
        model.setTab(MainTab::settings);
    if (action != QStringLiteral("sync-now"))
        return showWindow(activationToken);
    // When nothing can be synced, the window tells why.
    model.sync(std::nullopt, SyncTrigger::manual,
               [self = QPointer(this), activationToken](const std::optional<QString> &refusal) {
                   if (self && refusal)
                       self->showWindow(activationToken);
               });
}

bool AppDelegate::userSeesTheWindow() const {
    return QGuiApplication::applicationState() == Qt::ApplicationActive && window && window->isVisible();
}

void AppDelegate::runFinished(const SyncRun &run) {
    if (model.config().notifications)
        notify(run);
    ejected.reset();
    if (const auto tell = std::exchange(whenEnded, nullptr))
        tell(run);
}

void AppDelegate::notify(const SyncRun &run) {
    const VolumeInfo *drive = ejected ? model.driveAt(*ejected) : nullptr;
    if (drive)
        Notifier::post(StatusText::canBeEjected(drive->name), run.headline());
    else if (run.trigger != SyncTrigger::manual || !userSeesTheWindow())
        Notifier::post(StatusText::notificationTitle(run), run.headline());
}

void AppDelegate::applicationShouldTerminate() {
    if (!model.busy())
        return quit();
    if (!question)
        askBeforeQuitting();
    question->raise();
    question->activateWindow();
}

void AppDelegate::askBeforeQuitting() {
    const bool hasWindow = window && window->isVisible();
    question = new QMessageBox(hasWindow ? window.get() : nullptr);
    question->setAttribute(Qt::WA_DeleteOnClose);
    question->setWindowTitle(QStringLiteral("Tarnwick Basic"));
    question->setIconPixmap(QApplication::windowIcon().pixmap(64));
    question->setText(QStringLiteral("A sync is in progress"));
    question->setInformativeText(QStringLiteral("If you quit now, the sync stops safely after the current file. Files "
                                                "already copied are kept."));
    QPushButton *keep = question->addButton(QStringLiteral("Keep Syncing"), QMessageBox::RejectRole);
    const QPushButton *stop = question->addButton(QStringLiteral("Stop and Quit"), QMessageBox::DestructiveRole);
    question->setDefaultButton(keep);
    question->setEscapeButton(keep);
    connect(question, &QMessageBox::buttonClicked, this, [this, stop](const QAbstractButton *pressed) {
        if (pressed == stop)
            stopAndQuit();
    });
    question->open();
}

void AppDelegate::stopAndQuit() {
    model.cancelSync();
    if (onQuitting)
        onQuitting();
    QTimer::singleShot(1000, this, [this] { quit(); });
}

void AppDelegate::quit() {
    if (onQuitting)
        onQuitting();
    QCoreApplication::exit(0);
}

void AppDelegate::openForTest() {
    if (!TestRoot::isActive())
        return;
    const QString wanted = qEnvironmentVariable("TARNWICK_TEST_OPEN");
    if (wanted == QStringLiteral("settings"))
        model.setTab(MainTab::settings);
    else if (wanted == QStringLiteral("activity"))
        model.setTab(MainTab::activity);
    else if (wanted == QStringLiteral("addfolder"))
        QTimer::singleShot(1500, this, [this] { model.requestAddFolder(); });
}
