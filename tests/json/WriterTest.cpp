#include "json/Json.h"
#include "records/AppConfig.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(JsonWriter, LaysOutARecordInOneWay) {
    const AppConfig config{.pairs = {{.id = QUuid(), .lastOK = true}}, .oneDriveRootPath = QStringLiteral("/o")};
    EXPECT_EQ(Json::toBytes(config).toStdString(), R"({
  "autoSyncOnConnect" : true,
  "hasCompletedFirstRun" : false,
  "notifications" : true,
  "oneDriveRootPath" : "\/o",
  "pairs" : [
    {
      "backupRelPath" : "",
      "enabled" : true,
      "id" : "00000000-0000-0000-0000-000000000000",
      "lastOK" : true,
      "sourceRelPath" : "",
      "volumeName" : ""
    }
  ],
  "schema" : 1
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
