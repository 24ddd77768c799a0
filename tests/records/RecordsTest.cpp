#include "json/Json.h"
#include "records/SampleRecords.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

QJsonObject objectOf(const QByteArray &bytes) {
    return QJsonDocument::fromJson(bytes).object();
}

/// The keys of a full record that it still reads without, or with, instead of their value, `replacement`.
template <typename T>
std::string keysThatMayBe(const QJsonValue &replacement, const T &full) {
    const QJsonObject object = objectOf(Json::toBytes(full));
    std::string keys;
    for (const QString &key : object.keys()) {
        QJsonObject changed = object;
        changed.insert(key, replacement);
        try {
            Json::fromBytes<T>(QJsonDocument(changed).toJson());
            keys += key.toStdString() + ' ';
        } catch (const JsonError &) {
        }
    }
    return keys;
}

TEST(Records, AreWrittenAsTheyWereRead) {
    const auto compact = [](const QByteArray &bytes) {
        return QJsonDocument::fromJson(bytes).toJson(QJsonDocument::Compact);
    };
    EXPECT_EQ(compact(Json::toBytes(Sample::appConfig())), Sample::config);
    EXPECT_EQ(compact(Json::toBytes(Sample::syncRun())), Sample::run);
}

TEST(Records, KeysThatMayBeMissingOrNull) {
    const QJsonValue missing = QJsonValue::Undefined;
    const QJsonValue null = QJsonValue::Null;
    EXPECT_EQ(keysThatMayBe(missing, Sample::appConfig()),
              "autoSyncOnConnect hasCompletedFirstRun notifications oneDriveMountPoint oneDriveRootPath pairs schema ");
    EXPECT_EQ(keysThatMayBe(null, Sample::appConfig()), "oneDriveMountPoint oneDriveRootPath pairs ");
    EXPECT_EQ(keysThatMayBe(missing, Sample::appConfig().pairs[0]),
              "backupRelPath enabled id lastOK lastSummary lastSync sourceRelPath volumeName volumeUUID ");
    EXPECT_EQ(keysThatMayBe(null, Sample::appConfig().pairs[0]), "lastOK lastSummary lastSync volumeUUID ");
    EXPECT_EQ(keysThatMayBe(missing, Sample::syncRun()), "fatal ");
    EXPECT_EQ(keysThatMayBe(missing, Sample::syncRun().changes[0]), "fromPath pairID ");
}

TEST(AppConfig, PairsThatCannotBeReadCostOnlyThePairs) {
    AppConfig expected = Sample::appConfig();
    expected.pairs.clear();
    for (const char *pairs : {R"([{"volumeName":"good"},{"enabled":"yes"}])", "{}", "[[]]", "null", "5"}) {
        QJsonObject object = objectOf(Json::toBytes(Sample::appConfig()));
        object[QStringLiteral("pairs")] = objectOf(QByteArray("{\"p\":") + pairs + '}')[QStringLiteral("p")];
        EXPECT_EQ(Json::fromBytes<AppConfig>(QJsonDocument(object).toJson()), expected) << pairs;
    }
}

TEST(FolderPair, AnEmptyObjectIsAnEnabledPairWithANewIdentity) {
    const auto pairs = Json::fromBytes<std::vector<FolderPair>>("[{},{\"aNewKey\":{}}]");
    EXPECT_FALSE(pairs[0].id.isNull());
    EXPECT_NE(pairs[0].id, pairs[1].id);
    EXPECT_EQ(pairs[0], (FolderPair{.id = pairs[0].id, .enabled = true}));
}

TEST(SyncRun, HeadlineTellsTheRunInOneLine) {
    const std::vector<QString> three(3, QStringLiteral("x"));
    const std::pair<SyncRun, const char *> rows[] = {
        {{.upToDate = 9, .keptNewer = three, .conflicts = three}, "Everything was already up to date"},
        {{.filesCopied = 1, .bytesCopied = 1}, "1 file copied (1 byte)"},
        {{.filesCopied = 2, .bytesCopied = 4096, .errors = {QString()}, .skipped = {{}}},
         "2 files copied (4 KB) · 1 skipped · 1 problem"},
        {{.foldersCreated = 1}, "0 files copied (Zero KB)"},
        {{.errors = three}, "3 problems"},
        {{.filesCopied = 1, .errors = three, .cancelled = true}, "Sync cancelled after 1 file"},
        {{.filesCopied = 3, .cancelled = true, .fatal = QStringLiteral("The disk is full.")}, "The disk is full."},
    };
    for (const auto &[run, headline] : rows)
        EXPECT_EQ(run.headline().toStdString(), headline);
}

} // namespace
