#include "screens/SampleWindow.h"

#include "store/TestRoot.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

SampleWorld::SampleWorld() {
    // The model needs an event loop; where windows are tested there is one already.
    if (!QCoreApplication::instance())
        new QCoreApplication(
            *new int(1), new char *[2] { program_invocation_name, nullptr });
    TestRoot::set(TestRoot::prepare(tree.top()));
    for (const char *file : {"Volumes/Backup/Projects/2024/Photos/a.jpg", "Volumes/Backup/Music/a.mp3",
                             "Volumes/Travel/Raw/a.raw", "Home/Documents/Notes/list.txt"})
        tree.file(file);
    tree.file("Home/Library/CloudStorage/OneDrive-Personal/Backups/Notes/list.txt");
}

SampleWorld::~SampleWorld() {
    TestRoot::set(std::nullopt);
}

fs::path SampleWorld::oneDrive(const std::string &relative) const {
    const fs::path root = home("Library/CloudStorage/OneDrive-Personal");
    return relative.empty() ? root : root / relative;
}

void SampleWorld::addTwo(AppModel &model) const {
    add(model, drive("Backup/Projects/2024/Photos"), oneDrive("Photos"));
    add(model, home("Documents/Notes"), oneDrive("Backups/Notes"));
}

std::optional<QString> SampleWorld::add(AppModel &model, const fs::path &original, const fs::path &backup) const {
    std::optional<QString> answer = QStringLiteral("not answered");
    model.addPair(original, backup, [&](const std::optional<QString> &refusal) { answer = refusal; });
    EXPECT_TRUE(waitFor([&] { return answer != QStringLiteral("not answered") && !model.isLooking(); }));
    return answer;
}

void SampleWorld::look(AppModel &model) const {
    model.refreshEnvironment();
    EXPECT_TRUE(waitFor([&] { return !model.isLooking(); }));
}

std::vector<SyncRun> sampleHistory() {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const auto at = [&](int daysAgo, int seconds, SyncTrigger trigger) {
        SyncRun run;
        run.finished = now.addDays(-daysAgo);
        run.started = run.finished.addSecs(-seconds);
        run.trigger = trigger;
        run.pairNames = {QStringLiteral("Photos"), QStringLiteral("Notes")};
        return run;
    };
    const QString photos = QStringLiteral("Photos");
    SyncRun busy = at(0, 192, SyncTrigger::manual);
    busy.filesCopied = 3;
    busy.bytesCopied = 12'300'812;
    busy.upToDate = 48'213;
    busy.errors = {QStringLiteral("Photos/2024/IMG_0042.jpg: Input/output error"),
                   QStringLiteral("Photos: couldn't read the folder 2023/Private (Permission denied)")};
    busy.notes = {QStringLiteral("Photos: 1 file was skipped because OneDrive doesn't accept that type (.bat).")};
    busy.conflicts = {QStringLiteral("Photos/Trip — a folder with the same name is already in the backup")};
    busy.skipped = {
        {.pairName = photos, .relPath = QStringLiteral("2024/Why?.jpg"), .detail = QStringLiteral("Why_.jpg")},
        {.pairName = photos, .relPath = QStringLiteral("End "), .detail = QStringLiteral("End")},
        {.pairName = photos,
         .relPath = QStringLiteral("run.bat"),
         .kind = SkipKind::type,
         .detail = QStringLiteral(".bat")}};
    busy.changes = {{.pairName = photos, .relPath = QStringLiteral("2024/Lake/IMG_1.jpg"), .size = 4'200'000},
                    {.pairName = photos,
                     .relPath = QStringLiteral("2024/IMG_2.jpg"),
                     .kind = ChangeKind::updated,
                     .size = 8'100'000},
                    {.pairName = QStringLiteral("Notes"), .relPath = QStringLiteral("list.txt"), .size = 812}};
    busy.changesOmitted = 1234;
    busy.keptNewer = {QStringLiteral("Notes/plan.txt — the copy in OneDrive is newer, so it was left alone")};
    SyncRun clean = at(1, 8, SyncTrigger::driveConnected);
    clean.filesCopied = 1;
    clean.bytesCopied = 1'250'000'000;
    clean.changes = {{.pairName = photos, .relPath = QStringLiteral("Film.mov"), .size = 1'250'000'000}};
    SyncRun cancelled = at(4, 62, SyncTrigger::launch);
    cancelled.cancelled = true;
    cancelled.filesCopied = 2;
    cancelled.bytesCopied = 7'400'000;
    cancelled.changes = {{.pairName = photos, .relPath = QStringLiteral("2023/IMG_7.jpg"), .size = 4'100'000},
                         {.pairName = photos, .relPath = QStringLiteral("2023/IMG_8.jpg"), .size = 3'300'000}};
    SyncRun stopped = at(9, 3, SyncTrigger::manual);
    stopped.fatal =
        QStringLiteral("The drive was disconnected while syncing “Photos”. Nothing was damaged; reconnect it "
                       "to finish.");
    return {busy, clean, cancelled, stopped};
}

bool waitFor(const std::function<bool()> &condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 10'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return condition();
}

QAbstractButton *button(QWidget &view, const QString &text) {
    for (QAbstractButton *candidate : view.findChildren<QAbstractButton *>()) {
        if (candidate->isVisible() && (candidate->text() == text || candidate->accessibleName() == text))
            return candidate;
    }
    return nullptr;
}
