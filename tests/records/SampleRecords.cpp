#include "records/SampleRecords.h"

namespace Sample {

namespace {

QUuid identity(uint number) {
    return QUuid(number, 0x1234, 0xABCD, 1, 2, 3, 4, 0xA, 0xB, 0xC, 0xD);
}
QDateTime moment(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

FolderPair folderPair() {
    return {.id = identity(1),
            .enabled = false,
            .volumeUUID = QStringLiteral("5A1F-33C0"),
            .volumeName = QStringLiteral("Backup “eins”"),
            .sourceRelPath = QStringLiteral("Photos/2024"),
            .backupRelPath = QStringLiteral("Sicherung/Bücher 😀"),
            .lastSync = moment(1788256800),
            .lastSummary = QStringLiteral("2 files copied"),
            .lastOK = true};
}

ChangeRecord change() {
    return {.id = identity(3),
            .pairName = QStringLiteral("2024"),
            .relPath = QStringLiteral("a/b.jpg"),
            .kind = ChangeKind::updated,
            .path = QStringLiteral("/od/Sicherung/a/b.jpg"),
            .size = 123456789012,
            .fromPath = QStringLiteral("/media/u/Backup/Photos/2024/a/b.jpg"),
            .pairID = identity(1)};
}

PairResult pairResult() {
    return {.pairID = identity(1),
            .name = QStringLiteral("2024"),
            .copied = 2,
            .bytes = 4096,
            .errors = 1,
            .note = QStringLiteral("Out of space")};
}

SkippedItem skippedItem() {
    return {.id = identity(4),
            .pairID = identity(1),
            .pairName = QStringLiteral("2024"),
            .relPath = QStringLiteral("run \"me\".BAT"),
            .path = QStringLiteral("/media/u/Backup/Photos/2024/run \"me\".BAT"),
            .kind = SkipKind::type,
            .detail = QStringLiteral(".bat")};
}

} // namespace

AppConfig appConfig() {
    return {.pairs = {folderPair(), FolderPair{.id = identity(2), .volumeName = QStringLiteral("This Mac")}},
            .autoSyncOnConnect = false,
            .notifications = false,
            .oneDriveRootPath = QStringLiteral("/home/u/Library/CloudStorage/OneDrive-Personal"),
            .oneDriveMountPoint = QStringLiteral("/home/u/Library"),
            .hasCompletedFirstRun = true,
            .schema = 7};
}

SyncRun syncRun() {
    return {.id = identity(5),
            .started = moment(1788256800),
            .finished = moment(1788256861),
            .trigger = SyncTrigger::driveConnected,
            .pairNames = {QStringLiteral("2024"), QStringLiteral("Bücher")},
            .filesCopied = 2,
            .bytesCopied = 4096,
            .foldersCreated = 3,
            .upToDate = 4,
            .keptNewer = {QStringLiteral("a: newer")},
            .conflicts = {QStringLiteral("b: clash")},
            .errors = {QStringLiteral("c: failed\nc: again")},
            .notes = {QStringLiteral("d")},
            .changes = {change()},
            .changesOmitted = 5,
            .pairResults = {pairResult()},
            .skipped = {skippedItem()},
            .cancelled = true,
            .fatal = QStringLiteral("The disk is full.")};
}

} // namespace Sample
