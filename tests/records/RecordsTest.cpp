#include "records/Json.h"
#include "records/MainTab.h"
#include "records/SampleRecords.h"
#include "records/SyncProgress.h"
#include "records/VolumeInfo.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>
#include <ostream>
#include <tuple>

namespace {

QJsonObject objectOf(const QByteArray &bytes) {
    return QJsonDocument::fromJson(bytes).object();
}
QByteArray bytesOf(const QJsonObject &object) {
    return QJsonDocument(object).toJson();
}

template <typename T>
bool reads(const QJsonObject &object) {
    try {
        Json::fromBytes<T>(bytesOf(object));
        return true;
    } catch (const JsonError &) {
        return false;
    }
}

/// The keys of a full record for which the record still reads when `change` has been done to that member.
template <typename T, typename Change>
std::string keysThatMay(const T &full, const Change &change) {
    const QJsonObject object = objectOf(Json::toBytes(full));
    std::string keys;
    for (const QString &key : object.keys()) {
        QJsonObject changed = object;
        change(changed, key);
        if (reads<T>(changed))
            keys += (keys.empty() ? "" : " ") + key.toStdString();
    }
    return keys;
}

template <typename T>
std::string keysThatMayBeMissing(const T &full) {
    return keysThatMay(full, [](QJsonObject &object, const QString &key) { object.remove(key); });
}
template <typename T>
std::string keysThatMayBeNull(const T &full) {
    return keysThatMay(full, [](QJsonObject &object, const QString &key) { object[key] = QJsonValue::Null; });
}
/// No key of any record holds an object.
template <typename T>
std::string keysThatMayBeOfAWrongType(const T &full) {
    return keysThatMay(full, [](QJsonObject &object, const QString &key) { object[key] = QJsonObject(); });
}

TEST(Records, KeysThatMayBeMissing) {
    EXPECT_EQ(keysThatMayBeMissing(Sample::appConfig()),
              "autoSyncOnConnect hasCompletedFirstRun notifications oneDriveRootPath pairs schema");
    EXPECT_EQ(keysThatMayBeMissing(Sample::folderPair()),
              "backupRelPath enabled id lastOK lastSummary lastSync "
              "sourceRelPath volumeName volumeUUID");
    EXPECT_EQ(keysThatMayBeMissing(Sample::syncRun()), "fatal");
    EXPECT_EQ(keysThatMayBeMissing(Sample::change()), "fromPath pairID");
    EXPECT_EQ(keysThatMayBeMissing(Sample::pairResult()), "note");
    EXPECT_EQ(keysThatMayBeMissing(Sample::skippedItem()), "");
}

TEST(Records, KeysThatMayBeNull) {
    EXPECT_EQ(keysThatMayBeNull(Sample::appConfig()), "oneDriveRootPath pairs");
    EXPECT_EQ(keysThatMayBeNull(Sample::folderPair()), "lastOK lastSummary lastSync volumeUUID");
    EXPECT_EQ(keysThatMayBeNull(Sample::syncRun()), "fatal");
    EXPECT_EQ(keysThatMayBeNull(Sample::change()), "fromPath pairID");
    EXPECT_EQ(keysThatMayBeNull(Sample::pairResult()), "note");
    EXPECT_EQ(keysThatMayBeNull(Sample::skippedItem()), "");
}

TEST(Records, OnlyPairsMayBeOfAWrongType) {
    EXPECT_EQ(keysThatMayBeOfAWrongType(Sample::appConfig()), "pairs");
    EXPECT_EQ(keysThatMayBeOfAWrongType(Sample::folderPair()), "");
    EXPECT_EQ(keysThatMayBeOfAWrongType(Sample::syncRun()), "");
    EXPECT_EQ(keysThatMayBeOfAWrongType(Sample::change()), "");
    EXPECT_EQ(keysThatMayBeOfAWrongType(Sample::pairResult()), "");
    EXPECT_EQ(keysThatMayBeOfAWrongType(Sample::skippedItem()), "");
}

template <typename T>
void expectSameAfterReading(const T &record) {
    EXPECT_TRUE(Json::fromBytes<T>(Json::toBytes(record)) == record) << Json::toBytes(record).constData();
}

TEST(Records, ReadBackAsWritten) {
    expectSameAfterReading(Sample::appConfig());
    expectSameAfterReading(AppConfig());
    expectSameAfterReading(FolderPair());
    expectSameAfterReading(SyncRun());
    expectSameAfterReading(std::vector{Sample::syncRun(), SyncRun(), Sample::syncRun()});
    FolderPair marked;
    marked.sourceRelPath = QStringLiteral("\uFEFF marked/ü\uFEFF");
    expectSameAfterReading(marked);
}

TEST(Records, UnknownKeysAreIgnored) {
    QJsonObject object = objectOf(Json::toBytes(Sample::syncRun()));
    object[QStringLiteral("aNewKey")] = QJsonObject{{QStringLiteral("id"), 5}};
    EXPECT_TRUE(Json::fromBytes<SyncRun>(bytesOf(object)) == Sample::syncRun());
}

TEST(AppConfig, AnEmptyObjectOrEmptyPairsGiveTheDefaults) {
    for (const char *text : {"{}", R"({"pairs":[]})"}) {
        const AppConfig config = Json::fromBytes<AppConfig>(text);
        EXPECT_EQ(config, AppConfig());
        EXPECT_EQ(std::tuple(config.pairs.size(), config.autoSyncOnConnect, config.notifications,
                             config.oneDriveRootPath.has_value(), config.hasCompletedFirstRun, config.schema),
                  std::tuple(0u, true, true, false, false, 1));
    }
}

TEST(AppConfig, PairsThatCannotBeReadCostOnlyThePairs) {
    AppConfig expected = Sample::appConfig();
    expected.pairs.clear();
    for (const char *pairs : {R"([{"volumeName":"good"},{"enabled":"yes"}])", R"({"enabled":true})", "[[]]",
                              "[null]", "5", "null", R"([{"lastSync":"yesterday"}])", R"([{"id":null}])"}) {
        QJsonObject object = objectOf(Json::toBytes(Sample::appConfig()));
        const QByteArray wrapped = QByteArray("{\"pairs\":") + pairs + '}';
        object[QStringLiteral("pairs")] = objectOf(wrapped)[QStringLiteral("pairs")];
        EXPECT_EQ(Json::fromBytes<AppConfig>(bytesOf(object)), expected) << pairs;
    }
}

TEST(FolderPair, AnEmptyObjectIsAnEnabledPairWithANewIdentity) {
    const auto pairs = Json::fromBytes<std::vector<FolderPair>>("[{},{}]");
    ASSERT_EQ(pairs.size(), 2u);
    EXPECT_FALSE(pairs[0].id.isNull());
    EXPECT_NE(pairs[0].id, pairs[1].id);
    FolderPair plain;
    plain.id = pairs[0].id;
    EXPECT_EQ(pairs[0], plain);
    EXPECT_TRUE(pairs[0].enabled);
}

TEST(FolderPair, AnErrorNamesItsPlace) {
    struct Document {
        std::vector<FolderPair> pairs;
        static Document fromJson(const JsonReader &in) {
            return {in.required<std::vector<FolderPair>>("pairs")};
        }
    };
    try {
        Json::fromBytes<Document>(R"({"pairs":[{},{"enabled":1}]})");
        FAIL();
    } catch (const JsonError &error) {
        EXPECT_STREQ(error.what(), "pairs[1].enabled: expected true or false");
    }
}

struct HeadlineRow {
    const char *situation;
    SyncRun run;
    QString headline;
};

void PrintTo(const HeadlineRow &row, std::ostream *out) {
    *out << row.situation;
}

class HeadlineTest : public testing::TestWithParam<HeadlineRow> {};

TEST_P(HeadlineTest, TellsTheRunInOneLine) {
    EXPECT_EQ(GetParam().run.headline().toStdString(), GetParam().headline.toStdString());
}

std::vector<QString> lines(std::size_t count) {
    return std::vector<QString>(count, QStringLiteral("x"));
}
std::vector<SkippedItem> items(std::size_t count) {
    return std::vector<SkippedItem>(count);
}

INSTANTIATE_TEST_SUITE_P(
    Runs, HeadlineTest,
    testing::Values(
        HeadlineRow{"nothing to do", {}, QStringLiteral("Everything was already up to date")},
        HeadlineRow{"newer ones and clashes are not told",
                    {.upToDate = 9, .keptNewer = lines(2), .conflicts = lines(2), .notes = lines(1)},
                    QStringLiteral("Everything was already up to date")},
        HeadlineRow{
            "one file", {.filesCopied = 1, .bytesCopied = 1}, QStringLiteral("1 file copied (1 byte)")},
        HeadlineRow{"all three phrases",
                    {.filesCopied = 2, .bytesCopied = 4096, .errors = lines(1), .skipped = items(1)},
                    QStringLiteral("2 files copied (4 KB) · 1 skipped · 1 problem")},
        HeadlineRow{"only folders", {.foldersCreated = 1}, QStringLiteral("0 files copied (Zero KB)")},
        HeadlineRow{"skipped alone has no plural", {.skipped = items(2)}, QStringLiteral("2 skipped")},
        HeadlineRow{"problems alone", {.errors = lines(3)}, QStringLiteral("3 problems")},
        HeadlineRow{"cancelled after one",
                    {.filesCopied = 1, .errors = lines(3), .cancelled = true},
                    QStringLiteral("Sync cancelled after 1 file")},
        HeadlineRow{
            "cancelled after none", {.cancelled = true}, QStringLiteral("Sync cancelled after 0 files")},
        HeadlineRow{"fatal wins over cancelled",
                    {.filesCopied = 3, .cancelled = true, .fatal = QStringLiteral("The disk is full.")},
                    QStringLiteral("The disk is full.")},
        HeadlineRow{"an empty fatal text is one", {.filesCopied = 3, .fatal = QString()}, QString()}));

TEST(Records, TextsOfEnumerations) {
    EXPECT_EQ(label(SyncTrigger::manual), QStringLiteral("Sync Now"));
    EXPECT_EQ(label(SyncTrigger::driveConnected), QStringLiteral("Drive connected"));
    EXPECT_EQ(label(SyncTrigger::launch), QStringLiteral("At startup"));
    QString stored;
    for (const SyncTrigger trigger : {SyncTrigger::manual, SyncTrigger::driveConnected, SyncTrigger::launch})
        stored += rawText(trigger) + u' ';
    for (const ChangeKind kind : {ChangeKind::added, ChangeKind::updated})
        stored += rawText(kind) + u' ';
    for (const SkipKind kind : {SkipKind::name, SkipKind::type})
        stored += rawText(kind) + u' ';
    EXPECT_EQ(stored, QStringLiteral("manual driveConnected launch added updated name type "));
    QString titles;
    for (const MainTab tab : mainTabs)
        titles += title(tab) + u' ';
    EXPECT_EQ(titles, QStringLiteral("Folders Activity Settings "));
}

TEST(VolumeInfo, IdentityEqualityAndHashUseTheWholeRecord) {
    const VolumeInfo drive{"/media/u/Backup", QStringLiteral("Backup"), std::nullopt,
                           QStringLiteral("msdos")};
    EXPECT_EQ(drive.id(), QStringLiteral("name:Backup"));
    std::vector<VolumeInfo> others(4, drive);
    others[0].url = "/media/u/Other";
    others[1].name = QStringLiteral("Other");
    others[2].uuid = QString();
    others[3].fsType = QString();
    EXPECT_EQ(others[2].id(), QString());
    const std::hash<VolumeInfo> hash;
    EXPECT_EQ(hash(drive), hash(VolumeInfo(drive)));
    for (const VolumeInfo &other : others) {
        EXPECT_FALSE(other == drive);
        EXPECT_NE(hash(other), hash(drive));
    }
}

template <typename Record, typename... Fields>
void expectHashOverAll(const Record &record, Fields... fields) {
    const std::hash<Record> hash;
    EXPECT_EQ(hash(record), hash(Record(record)));
    const auto differsWithout = [&](auto field) {
        Record other = record;
        other.*field = std::remove_cvref_t<decltype(other.*field)>();
        EXPECT_FALSE(other == record);
        EXPECT_NE(hash(other), hash(record));
    };
    (differsWithout(fields), ...);
}

TEST(Records, PartsOfARunHashOverAllFields) {
    expectHashOverAll(Sample::change(), &ChangeRecord::id, &ChangeRecord::pairName, &ChangeRecord::relPath,
                      &ChangeRecord::kind, &ChangeRecord::path, &ChangeRecord::size, &ChangeRecord::fromPath,
                      &ChangeRecord::pairID);
    expectHashOverAll(Sample::pairResult(), &PairResult::pairID, &PairResult::name, &PairResult::copied,
                      &PairResult::bytes, &PairResult::errors, &PairResult::note);
    expectHashOverAll(Sample::skippedItem(), &SkippedItem::id, &SkippedItem::pairID, &SkippedItem::pairName,
                      &SkippedItem::relPath, &SkippedItem::path, &SkippedItem::kind, &SkippedItem::detail);
}

} // namespace
