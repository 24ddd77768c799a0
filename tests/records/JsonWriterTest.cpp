#include "json/Json.h"
#include "records/SampleRecords.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(JsonWriter, LaysOutAConfigInOneWay) {
    AppConfig config = Sample::appConfig();
    config.pairs.pop_back();
    config.pairs[0].volumeUUID.reset();
    EXPECT_EQ(Json::toBytes(config).toStdString(), R"({
  "autoSyncOnConnect" : false,
  "hasCompletedFirstRun" : true,
  "notifications" : false,
  "oneDriveMountPoint" : "\/home\/u\/Library",
  "oneDriveRootPath" : "\/home\/u\/Library\/CloudStorage\/OneDrive-Personal",
  "pairs" : [
    {
      "backupRelPath" : "Sicherung\/Bücher 😀",
      "enabled" : false,
      "id" : "00000001-1234-ABCD-0102-03040A0B0C0D",
      "lastOK" : true,
      "lastSummary" : "2 files copied",
      "lastSync" : "2026-09-01T10:00:00Z",
      "sourceRelPath" : "Photos\/2024",
      "volumeName" : "Backup “eins”"
    }
  ],
  "schema" : 7
})");
}

TEST(JsonWriter, WritesTextsAndMomentsThatReadBack) {
    const std::pair<QString, std::string> texts[] = {
        {QStringLiteral("a/\\\"\b\n\t"), R"(a\/\\\"\b\n\t)"},
        {QString(QChar(0)) + QChar(0x1f) + QChar(0x7f), R"(\u0000\u001f\u007f)"},
        {QString(QChar(0xd83d)) + QChar(0xd83d) + QChar(0xde00), "\uFFFD😀"},
        {QString(QChar(0xde00)) + u'a' + QChar(0xd83d), "\uFFFDa\uFFFD"},
        {QStringLiteral("\uFEFFa\uFEFF"), "\\ufeffa\uFEFF"},
    };
    for (const auto &[text, expected] : texts)
        EXPECT_EQ(Json::toBytes(text).toStdString(), '"' + expected + '"');
    const std::pair<qint64, std::string> moments[] = {
        {1788256800999, "2026-09-01T10:00:00Z"},
        {-1, "1969-12-31T23:59:59Z"},
        {std::numeric_limits<qint64>::max() / 4, "9999-12-31T23:59:59Z"},
    };
    for (const auto &[milliseconds, expected] : moments)
        EXPECT_EQ(Json::toBytes(QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)).toStdString(),
                  '"' + expected + '"');
}

} // namespace
