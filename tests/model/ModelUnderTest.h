#pragma once

#include "model/AppModel.h"
#include "store/Locations.h"
#include "store/Store.h"
#include "store/StoreUnderTest.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QRegularExpression>
#include <QTimerEvent>
#include <QtCore/qtestsupport_core.h>

/// A model in a test root with the drives "Drive" and "Other" and the OneDrive folder "Home/OneDrive". Pairs are told
/// as "+ Drive:Photos > Backups/Photos", with "-" when unticked, " = " and the last result, and "!" when that was bad.
class ModelUnderTest : public StoreUnderTest {
  protected:
    ModelUnderTest() {
        static const auto *const application = new QCoreApplication(
            *new int(1), new char *[2] { program_invocation_name, nullptr });
        AppModel::setReadOnly(!application);
        for (const char *folder : {"Volumes/Drive", "Volumes/Other", "Home/OneDrive"})
            tree.dir(folder);
    }
    ~ModelUnderTest() override {
        EXPECT_TRUE(until([&] { return !model || !model->busy(); }));
        EXPECT_TRUE(AppModel::flushProfiles(std::chrono::seconds(10)));
        EXPECT_TRUE(AppModel::flushHistory(std::chrono::seconds(10)));
    }
    /// Makes the model anew from settings with these pairs.
    void load(const Lines &pairs) {
        AppConfig config;
        for (const std::string &line : pairs) {
            const auto part = QString::fromStdString(line).split(QRegularExpression(QStringLiteral("(?<=^.) |:| > ")));
            const auto home = part[1] == u"This Mac" ? std::optional(Locations::homeKey) : std::nullopt;
            config.pairs.push_back({QUuid::createUuid(), part[0] == u'+', home, part[1], part[2], part[3]});
        }
        EXPECT_EQ(Store::save(config), std::nullopt);
        startAnew();
    }
    void startAnew() {
        model = std::make_unique<AppModel>();
        settle();
    }
    /// Waits until everything that was asked of the disks is answered.
    void settle() const {
        EXPECT_TRUE(until([&] { return model->hasLooked() && !model->isLooking(); }));
    }
    std::optional<QString> answer(const std::function<void(const AppModel::Answer &done)> &operation) const {
        std::optional<QString> answered;
        bool isAnswered = false;
        operation([&](const std::optional<QString> &refusal) {
            answered = refusal;
            isAnswered = true;
        });
        EXPECT_TRUE(until([&] { return isAnswered; }));
        settle();
        return answered;
    }
    std::optional<QString> addPair(const fs::path &original, const fs::path &backup) {
        return answer([&](const AppModel::Answer &done) { model->addPair(original, backup, done); });
    }
    std::optional<QString> setBackup(const QUuid &pair, const fs::path &backup) {
        return answer([&](const AppModel::Answer &done) { model->setBackup(pair, backup, done); });
    }
    std::optional<QString> chooseOneDrive(const std::optional<fs::path> &folder) {
        return answer([&](const AppModel::Answer &done) { model->chooseOneDrive(folder, done); });
    }
    void refresh() {
        model->refreshEnvironment();
        settle();
    }
    void mountDrive(const fs::path &drive) {
        model->volumeMounted(drive);
        settle();
    }
    void launch(bool syncIfConnected) {
        model->start(syncIfConnected);
        settle();
    }
    Lines listed() const {
        Lines lines;
        for (const FolderPair &pair : model->config().pairs)
            lines.push_back((pair.enabled ? "+ " : "- ") + text(pair.volumeName + u':' + pair.sourceRelPath) + " > " +
                            text(pair.backupRelPath) + (pair.lastSummary ? " = " : "") + text(pair.lastSummary) +
                            (pair.lastOK.value_or(true) ? "" : "!"));
        return lines;
    }
    QUuid id(std::size_t index) const { return model->config().pairs.at(index).id; }
    static bool until(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 10'000); }
    void start(const AppModel::PairIDs &pairs = std::nullopt) { model->sync(pairs, SyncTrigger::manual); }
    /// Why a sync is refused; "" when it runs.
    std::string refusal() {
        return text(
            answer([&](const AppModel::Answer &done) { model->sync(std::nullopt, SyncTrigger::manual, done); }));
    }
    /// The newest run, once no sync is under way; none has an empty id.
    SyncRun run() {
        EXPECT_TRUE(until([&] { return !model->busy(); }));
        EXPECT_TRUE(AppModel::flushHistory(std::chrono::seconds(10)));
        return model->lastRun() ? *model->lastRun() : SyncRun{.id = {}};
    }
    /// Lets the time of all syncs to come pass at once; returns their delays in milliseconds.
    static std::vector<int> passDelays() {
        std::vector<int> delays;
        const auto *dispatcher = QAbstractEventDispatcher::instance(); // Qt keeps the timers of delayed calls there
        for (QObject *call : dispatcher->findChildren<QObject *>()) {
            delays.push_back(dispatcher->registeredTimers(call).at(0).interval);
            QTimerEvent event(dispatcher->registeredTimers(call).at(0).timerId);
            QCoreApplication::sendEvent(call, &event);
        }
        return delays;
    }
    static std::string text(const std::optional<QString> &line) { return line.value_or(QString()).toStdString(); }
    const fs::path oneDrive = tree / "Home/OneDrive";
    std::unique_ptr<AppModel> model;
};
