#include "json/Json.h"
#include "records/SyncTrigger.h"

#include <gtest/gtest.h>

namespace {

/// What is read, as it would be written again, or the error.
template <typename T>
std::string read(const std::string &json) {
    try {
        return Json::toBytes(Json::fromBytes<std::vector<T>>(QByteArray::fromStdString('[' + json + ']'))[0])
            .toStdString();
    } catch (const JsonError &error) {
        return error.what();
    }
}

TEST(JsonReader, GivesTheValueOrTheError) {
    struct Row {
        std::string (*read)(const std::string &json);
        std::string json;
        std::string expected;
    };
    const std::string notInteger = "[0]: expected a whole number in the signed 64-bit range";
    const std::string notUuid = "[0]: expected a UUID";
    const std::string notMoment = "[0]: expected a date such as \"2026-09-01T10:00:00Z\"";
    const Row rows[] = {
        {read<bool>, "1", "[0]: expected true or false"},
        {read<std::int64_t>, "-1.25E+2", "-125"},
        {read<std::int64_t>, "1250e-2", notInteger},
        {read<std::int64_t>, "1e99999999999", notInteger},
        {read<std::int64_t>, "9223372036854775807.0", "9223372036854775807"},
        {read<std::int64_t>, "-9223372036854775808", "-9223372036854775808"},
        {read<std::int64_t>, "9223372036854775808", notInteger},
        {read<std::int64_t>, "\"1\"", notInteger},
        {read<QString>, R"("a\u00e9/\"\ud83d\ude00€")", R"("aé\/\"😀€")"},
        {read<QString>, "null", "[0]: expected a text"},
        {read<QUuid>, "\"0123abcd-4567-89ef-0123-456789abcdef\"", "\"0123ABCD-4567-89EF-0123-456789ABCDEF\""},
        {read<QUuid>, "\"{0123abcd-4567-89ef-0123-456789abcdef}\"", notUuid},
        {read<QUuid>, "\"0123abcg-4567-89ef-0123-456789abcdef\"", notUuid},
        {read<QDateTime>, "\"2026-09-01T04:30:00-05:30\"", "\"2026-09-01T10:00:00Z\""},
        {read<QDateTime>, "\"2026-02-29T00:00:00Z\"", notMoment},
        {read<QDateTime>, "\"2026-09-01T24:00:00Z\"", notMoment},
        {read<QDateTime>, "\"2026-09-01T10:00:00.5Z\"", notMoment},
        {read<QDateTime>, "\"9999-12-31T23:59:59-00:01\"", notMoment},
        {read<SyncTrigger>, "\"Manual\"", R"([0]: expected one of "manual", "driveConnected", "launch")"},
        {read<std::vector<bool>>, "[true,0]", "[0][1]: expected true or false"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(row.read(row.json), row.expected) << row.json;
}

TEST(JsonReader, ReportsWhereATextIsNotJson) {
    const std::pair<std::string, std::string> rows[] = {
        {"1,", "3: expected a value"},
        {"1] [", "4: something follows the document"},
        {"{1:2}", "2: expected a key"},
        {"\"a\n\"", "3: a control character in a text"},
        {"\"\\q\"", "3: an unknown escape"},
        {"\"\\ud83d\"", "8: half a pair of surrogates"},
        {"\"\xff\"", "3: a text that is not UTF-8"},
    };
    for (const auto &[json, expected] : rows)
        EXPECT_EQ(read<bool>(json), "not JSON at byte " + expected) << json;
    const std::string deep = std::string(1'000'000, '[') + std::string(1'000'000, ']');
    EXPECT_EQ(read<bool>(deep), "[0]: expected true or false");
}

} // namespace
