#include "records/Json.h"
#include "records/SampleRecords.h"

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace {

template <typename T>
std::string written(const T &value) {
    return Json::toBytes(value).toStdString();
}

QDateTime utc(qint64 milliseconds) {
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

TEST(JsonWriter, LaysOutAConfigInOneWay) {
    AppConfig config = Sample::appConfig();
    config.pairs[1].volumeUUID = QStringLiteral("this-mac-home");
    EXPECT_EQ(written(config), R"({
  "autoSyncOnConnect" : false,
  "hasCompletedFirstRun" : true,
  "notifications" : false,
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
      "volumeName" : "Backup “eins”",
      "volumeUUID" : "5A1F-33C0"
    },
    {
      "backupRelPath" : "",
      "enabled" : true,
      "id" : "00000002-1234-ABCD-0102-03040A0B0C0D",
      "sourceRelPath" : "",
      "volumeName" : "This Mac",
      "volumeUUID" : "this-mac-home"
    }
  ],
  "schema" : 7
})");
}

TEST(JsonWriter, LeavesAbsentValuesOut) {
    EXPECT_EQ(written(AppConfig()), R"({
  "autoSyncOnConnect" : true,
  "hasCompletedFirstRun" : false,
  "notifications" : true,
  "pairs" : [],
  "schema" : 1
})");
    SyncRun run = Sample::syncRun();
    EXPECT_NE(written(run).find("\"fatal\" : \"The disk is full.\""), std::string::npos);
    run.fatal.reset();
    EXPECT_EQ(written(run).find("fatal"), std::string::npos);
}

TEST(JsonWriter, WritesAHistoryAsAList) {
    EXPECT_EQ(written(std::vector<SyncRun>()), "[]");
    const PairResult bare{
        .pairID = QUuid(), .name = QStringLiteral("x"), .copied = 1, .bytes = 2, .errors = 3};
    EXPECT_EQ(written(std::vector{bare, bare}), R"([
  {
    "bytes" : 2,
    "copied" : 1,
    "errors" : 3,
    "name" : "x",
    "pairID" : "00000000-0000-0000-0000-000000000000"
  },
  {
    "bytes" : 2,
    "copied" : 1,
    "errors" : 3,
    "name" : "x",
    "pairID" : "00000000-0000-0000-0000-000000000000"
  }
])");
}

TEST(JsonWriter, EscapesTexts) {
    struct Row {
        const char *situation;
        QString text;
        std::string expected;
    };
    const Row rows[] = {
        {"plain", QStringLiteral("a b~"), "a b~"},
        {"slash, backslash, quote", QStringLiteral("a/\\\""), R"(a\/\\\")"},
        {"control characters with a letter", QStringLiteral("\b\f\n\r\t"), R"(\b\f\n\r\t)"},
        {"other control characters", QString(QChar(0)) + QChar(0x1f) + QChar(0x7f), R"(\u0000\u001f\u007f)"},
        {"two, three and four bytes", QStringLiteral("é€😀\U0010FFFF"), "é€😀\U0010FFFF"},
        {"lone high surrogate at the end", QString(QChar(0xd83d)), "\uFFFD"},
        {"lone high surrogate before a letter", QString(QChar(0xd83d)) + u'a', "\uFFFDa"},
        {"two high surrogates", QString(QChar(0xd83d)) + QChar(0xd83d) + QChar(0xde00), "\uFFFD😀"},
        {"lone low surrogate", QString(QChar(0xde00)) + QChar(0xd83d), "\uFFFD\uFFFD"},
        {"U+FEFF only counts as a mark in front", QStringLiteral("\uFEFFa\uFEFF"), "\\ufeffa\uFEFF"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(written(row.text), '"' + row.expected + '"') << row.situation;
}

TEST(JsonWriter, WritesNumbersExactly) {
    EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(written(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
    EXPECT_EQ(written(0), "0");
    EXPECT_EQ(written(1788256800.25), "1788256800.25");
    EXPECT_EQ(written(-0.1), "-0.1");
    EXPECT_EQ(written(std::numeric_limits<double>::infinity()), "null");
}

TEST(JsonWriter, WritesMomentsInUtcWithoutFractions) {
    struct Row {
        const char *situation;
        QDateTime moment;
        const char *expected;
    };
    const QDateTime eastern(QDate(2026, 9, 1), QTime(0, 30), Qt::OffsetFromUTC, 2 * 3600);
    const Row rows[] = {
        {"whole second", utc(1788256800000), "2026-09-01T10:00:00Z"},
        {"fraction is dropped, not rounded", utc(1788256800999), "2026-09-01T10:00:00Z"},
        {"fraction before 1970 is dropped too", utc(-1), "1969-12-31T23:59:59Z"},
        {"another zone", eastern, "2026-08-31T22:30:00Z"},
        {"leap day", utc(1709164800000), "2024-02-29T00:00:00Z"},
        {"beyond the year 9999", utc(std::numeric_limits<qint64>::max() / 4), "9999-12-31T23:59:59Z"},
        {"before the year 1", utc(std::numeric_limits<qint64>::min() / 4), "0001-01-01T00:00:00Z"},
        {"invalid", QDateTime(), "1970-01-01T00:00:00Z"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(written(row.moment), '"' + std::string(row.expected) + '"') << row.situation;
}

TEST(JsonWriter, RefusesADocumentOutOfOrder) {
    const auto misuse = [](const auto &steps) { EXPECT_THROW(steps(JsonWriter()), std::logic_error); };
    misuse([](JsonWriter out) {
        out.beginObject();
        out.member("b", 1);
        out.member("a", 2);
    });
    misuse([](JsonWriter out) {
        out.beginObject();
        out.member("a", 1);
        out.member("a", 2);
    });
    misuse([](JsonWriter out) {
        out.beginObject();
        out.value(1);
    });
    misuse([](JsonWriter out) {
        out.beginArray();
        out.key("a");
    });
    misuse([](JsonWriter out) {
        out.beginArray();
        out.endObject();
    });
    misuse([](JsonWriter out) {
        out.value(1);
        out.value(2);
    });
}

TEST(JsonWriter, SortsEachLevelOnItsOwn) {
    JsonWriter out;
    out.beginObject();
    out.key("m");
    out.beginObject();
    out.member("z", true);
    out.endObject();
    out.key("n");
    out.beginObject();
    out.endObject();
    out.endObject();
    EXPECT_EQ(out.take().toStdString(), "{\n  \"m\" : {\n    \"z\" : true\n  },\n  \"n\" : {}\n}");
}

} // namespace
