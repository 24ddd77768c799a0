#include "records/Json.h"
#include "records/SyncTrigger.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

enum class Type { Bool, Integer, Text, Uuid, Moment, Trigger, IntegerList };

/// What was read, in words, or the error.
std::string outcome(const JsonReader &in, Type type) {
    switch (type) {
    case Type::Bool:
        return in.required<bool>("k") ? "true" : "false";
    case Type::Integer:
        return std::to_string(in.required<std::int64_t>("k"));
    case Type::Text:
        return in.required<QString>("k").toStdString();
    case Type::Uuid:
        return in.required<QUuid>("k").toString(QUuid::WithoutBraces).toStdString();
    case Type::Moment: {
        const QDateTime moment = in.required<QDateTime>("k");
        return (moment.timeSpec() == Qt::UTC ? "UTC " : "") + std::to_string(moment.toSecsSinceEpoch());
    }
    case Type::Trigger:
        return label(in.required<SyncTrigger>("k")).toStdString();
    case Type::IntegerList: {
        std::string list;
        for (const std::int64_t number : in.required<std::vector<std::int64_t>>("k"))
            list += std::to_string(number) + ";";
        return list;
    }
    }
    return {};
}

struct Row {
    const char *situation;
    Type type;
    std::string json;
    std::string expected;
};

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.situation;
}

class ReadingTest : public testing::TestWithParam<Row> {};

TEST_P(ReadingTest, GivesTheValueOrTheError) {
    const Row &row = GetParam();
    std::string actual;
    try {
        const JsonDocument document(QByteArray::fromStdString("{\"k\":" + row.json + "}"));
        actual = outcome(JsonReader(document), row.type);
    } catch (const JsonError &error) {
        actual = error.what();
    }
    EXPECT_EQ(actual, row.expected);
}

const std::string notBool = "k: expected true or false";
const std::string notInteger = "k: expected a whole number in the signed 64-bit range";
const std::string notText = "k: expected a text";
const std::string notUuid = "k: expected a UUID";
const std::string notMoment = "k: expected a date such as \"2026-09-01T10:00:00Z\"";
const std::string notTrigger = "k: expected one of \"manual\", \"driveConnected\", \"launch\"";

INSTANTIATE_TEST_SUITE_P(Truth, ReadingTest,
                         testing::Values(Row{"true", Type::Bool, "true", "true"},
                                         Row{"false", Type::Bool, "false", "false"},
                                         Row{"number for a truth value", Type::Bool, "1", notBool},
                                         Row{"text for a truth value", Type::Bool, "\"true\"", notBool},
                                         Row{"null for a truth value", Type::Bool, "null", notBool}));

INSTANTIATE_TEST_SUITE_P(
    Integers, ReadingTest,
    testing::Values(
        Row{"zero", Type::Integer, "0", "0"}, Row{"one", Type::Integer, "1", "1"},
        Row{"whole with a point", Type::Integer, "1.0", "1"}, Row{"exponent", Type::Integer, "1e3", "1000"},
        Row{"minus zero", Type::Integer, "-0.0", "0"},
        Row{"zero with a huge exponent", Type::Integer, "0e99999999999", "0"},
        Row{"fraction made whole", Type::Integer, "-1.25E+2", "-125"},
        Row{"divided without rest", Type::Integer, "1200e-2", "12"},
        Row{"leading zeros", Type::Integer, "0.00012e5", "12"},
        Row{"divided with rest", Type::Integer, "1250e-2", notInteger},
        Row{"largest with a point", Type::Integer, "9223372036854775807.0", "9223372036854775807"},
        Row{"one above the range with a point", Type::Integer, "9223372036854775808.0", notInteger},
        Row{"fraction beyond floating point", Type::Integer, "1.00000000000000000000001", notInteger},
        Row{"huge exponent", Type::Integer, "1e99999999999", notInteger},
        Row{"huge negative exponent", Type::Integer, "1e-99999999999", notInteger},
        Row{"beyond 2^53", Type::Integer, "9007199254740993", "9007199254740993"},
        Row{"largest", Type::Integer, "9223372036854775807", "9223372036854775807"},
        Row{"smallest", Type::Integer, "-9223372036854775808", "-9223372036854775808"},
        Row{"one above the range", Type::Integer, "9223372036854775808", notInteger},
        Row{"one below the range", Type::Integer, "-9223372036854775809", notInteger},
        Row{"far above the range", Type::Integer, "1e300", notInteger},
        Row{"fraction", Type::Integer, "1.5", notInteger},
        Row{"tiny fraction", Type::Integer, "1e-9", notInteger},
        Row{"truth value", Type::Integer, "true", notInteger},
        Row{"text", Type::Integer, "\"1\"", notInteger}, Row{"null", Type::Integer, "null", notInteger},
        Row{"list", Type::Integer, "[1]", notInteger}));

INSTANTIATE_TEST_SUITE_P(
    Texts, ReadingTest,
    testing::Values(Row{"empty", Type::Text, "\"\"", ""},
                    Row{"slash in both forms", Type::Text, R"("a/b\/c")", "a/b/c"},
                    Row{"short escapes", Type::Text, R"("\"\\\b\f\n\r\t")", "\"\\\b\f\n\r\t"},
                    Row{"escaped pair of surrogates", Type::Text, R"("\ud83d\ude00")", "😀"},
                    Row{"escapes among other letters", Type::Text, R"("é\u00e9\/\u20ac€")", "éé/€€"},
                    Row{"U+FEFF in front", Type::Text, "\"\uFEFFa\"", "\uFEFFa"},
                    Row{"number", Type::Text, "1", notText}, Row{"null", Type::Text, "null", notText}));

INSTANTIATE_TEST_SUITE_P(
    Uuids, ReadingTest,
    testing::Values(Row{"upper case", Type::Uuid, "\"0123ABCD-4567-89EF-0123-456789ABCDEF\"",
                        "0123abcd-4567-89ef-0123-456789abcdef"},
                    Row{"lower case", Type::Uuid, "\"0123abcd-4567-89ef-0123-456789abcdef\"",
                        "0123abcd-4567-89ef-0123-456789abcdef"},
                    Row{"all zeros", Type::Uuid, "\"00000000-0000-0000-0000-000000000000\"",
                        "00000000-0000-0000-0000-000000000000"},
                    Row{"in braces", Type::Uuid, "\"{0123ABCD-4567-89EF-0123-456789ABCDEF}\"", notUuid},
                    Row{"no hyphens", Type::Uuid, "\"0123ABCD456789EF0123456789ABCDEF\"", notUuid},
                    Row{"hyphen out of place", Type::Uuid, "\"0123ABCD4-567-89EF-0123-456789ABCDEF\"",
                        notUuid},
                    Row{"letter beyond F", Type::Uuid, "\"0123ABCG-4567-89EF-0123-456789ABCDEF\"", notUuid},
                    Row{"a digit short", Type::Uuid, "\"0123ABCD-4567-89EF-0123-456789ABCDE\"", notUuid},
                    Row{"a digit too many", Type::Uuid, "\"0123ABCD-4567-89EF-0123-456789ABCDEF0\"", notUuid},
                    Row{"empty", Type::Uuid, "\"\"", notUuid}, Row{"number", Type::Uuid, "1", notUuid}));

INSTANTIATE_TEST_SUITE_P(
    Moments, ReadingTest,
    testing::Values(
        Row{"UTC", Type::Moment, "\"2026-09-01T10:00:00Z\"", "UTC 1788256800"},
        Row{"east of Greenwich", Type::Moment, "\"2026-09-01T12:00:00+02:00\"", "UTC 1788256800"},
        Row{"west of Greenwich", Type::Moment, "\"2026-09-01T04:30:00-05:30\"", "UTC 1788256800"},
        Row{"29 February of a leap year", Type::Moment, "\"2024-02-29T00:00:00Z\"", "UTC 1709164800"},
        Row{"before 1970", Type::Moment, "\"1969-12-31T23:59:59Z\"", "UTC -1"},
        Row{"fraction", Type::Moment, "\"2026-09-01T10:00:00.5Z\"", notMoment},
        Row{"no zone", Type::Moment, "\"2026-09-01T10:00:00\"", notMoment},
        Row{"offset without colon", Type::Moment, "\"2026-09-01T10:00:00+0200\"", notMoment},
        Row{"offset of a day", Type::Moment, "\"2026-09-01T10:00:00+24:00\"", notMoment},
        Row{"lower-case z", Type::Moment, "\"2026-09-01T10:00:00z\"", notMoment},
        Row{"blank for the T", Type::Moment, "\"2026-09-01 10:00:00Z\"", notMoment},
        Row{"29 February of a common year", Type::Moment, "\"2026-02-29T00:00:00Z\"", notMoment},
        Row{"month 13", Type::Moment, "\"2026-13-01T10:00:00Z\"", notMoment},
        Row{"hour 24", Type::Moment, "\"2026-09-01T24:00:00Z\"", notMoment},
        Row{"second 60", Type::Moment, "\"2026-06-30T23:59:60Z\"", notMoment},
        Row{"before the year 1 in UTC", Type::Moment, "\"0001-01-01T00:00:00+01:00\"", notMoment},
        Row{"after the year 9999 in UTC", Type::Moment, "\"9999-12-31T23:59:59-00:01\"", notMoment},
        Row{"signed year", Type::Moment, "\"+026-09-01T10:00:00Z\"", notMoment},
        Row{"digits of another script", Type::Moment, "\"２０26-09-01T10:00:00Z\"", notMoment},
        Row{"something after it", Type::Moment, "\"2026-09-01T10:00:00Z \"", notMoment},
        Row{"date alone", Type::Moment, "\"2026-09-01\"", notMoment},
        Row{"seconds since 1970", Type::Moment, "1788256800", notMoment}));

INSTANTIATE_TEST_SUITE_P(
    EnumerationsAndLists, ReadingTest,
    testing::Values(Row{"a case", Type::Trigger, "\"driveConnected\"", "Drive connected"},
                    Row{"last case", Type::Trigger, "\"launch\"", "At startup"},
                    Row{"case in other letters", Type::Trigger, "\"Manual\"", notTrigger},
                    Row{"unknown case", Type::Trigger, "\"\"", notTrigger},
                    Row{"number of a case", Type::Trigger, "0", notTrigger},
                    Row{"empty list", Type::IntegerList, "[]", ""},
                    Row{"list in order", Type::IntegerList, "[3,1,2]", "3;1;2;"},
                    Row{"wrong element", Type::IntegerList, "[3,1,\"x\"]",
                        "k[2]: expected a whole number in the signed 64-bit range"},
                    Row{"object for a list", Type::IntegerList, "{}", "k: expected a list"}));

TEST(JsonReader, TellsMissingFromNull) {
    const JsonDocument document(R"({"null":null,"number":5})");
    const JsonReader in(document);
    EXPECT_EQ(in.optional<std::int64_t>("missing"), std::nullopt);
    EXPECT_EQ(in.optional<std::int64_t>("null"), std::nullopt);
    EXPECT_EQ(in.optional<std::int64_t>("number"), 5);
    EXPECT_THROW(in.optional<bool>("number"), JsonError);
    EXPECT_EQ(in.valueOr<std::int64_t>("missing", 7), 7);
    EXPECT_EQ(in.valueOr<std::int64_t>("number", 7), 5);
    EXPECT_THROW(in.valueOr<std::int64_t>("null", 7), JsonError);
}

TEST(JsonReader, FindsEscapedKeysAndTheLastOfTwo) {
    const JsonDocument document(R"({"key":1,"k\u0065y":2,"x":{"key":3},"keys":4,"":5})");
    const JsonReader in(document);
    EXPECT_EQ(in.required<std::int64_t>("key"), 2);
    EXPECT_EQ(in.required<std::int64_t>("keys"), 4);
    EXPECT_EQ(in.optional<std::int64_t>("ke"), std::nullopt);
}

std::string errorOf(const QByteArray &bytes) {
    try {
        Json::fromBytes<std::vector<std::vector<bool>>>(bytes);
    } catch (const JsonError &error) {
        return error.what();
    }
    return "none";
}

TEST(JsonReader, ReportsADocumentOfAnotherShape) {
    EXPECT_EQ(errorOf("{}"), "the document: expected a list");
    EXPECT_EQ(errorOf("1"), "the document: expected a list");
    EXPECT_EQ(errorOf("[[true],[false,0]]"), "[1][1]: expected true or false");
    EXPECT_EQ(errorOf("\xEF\xBB\xBF\t[ [true] ,\r\n[ ] ] "), "none");
    EXPECT_EQ(errorOf(QByteArray("[").repeated(1'000'000) + QByteArray("]").repeated(1'000'000)),
              "[0][0]: expected true or false");
}

TEST(JsonReader, ReportsWhereATextIsNotJson) {
    const std::pair<QByteArray, std::string> rows[] = {
        {"", "0: expected a value"},
        {"[", "1: expected a value"},
        {"[1,]", "3: expected a value"},
        {"[,1]", "1: expected a value"},
        {"[1 2]", "3: expected a comma or the end of a list or an object"},
        {"[1}", "2: expected a comma or the end of a list or an object"},
        {"[] []", "3: something follows the document"},
        {QByteArray("[]\0", 3), "2: something follows the document"},
        {"nonsense", "0: expected a value"},
        {"[tru]", "1: expected a value"},
        {"[NaN]", "1: expected a value"},
        {"[+1]", "1: expected a value"},
        {"[.5]", "1: expected a value"},
        {"[01]", "2: expected a comma or the end of a list or an object"},
        {"[1.]", "3: expected a digit"},
        {"[1e]", "3: expected a digit"},
        {"[-]", "2: expected a digit"},
        {"{1:2}", "1: expected a key"},
        {"{\"a\" 1}", "5: expected a colon"},
        {"{\"a\":}", "5: expected a value"},
        {"{\"a\":1,}", "7: expected a key"},
        {"[\"a", "3: a text without an end"},
        {"[\"a\n\"]", "3: a control character in a text"},
        {"[\"\\q\"]", "3: an unknown escape"},
        {"[\"\\", "3: an unknown escape"},
        {"[\"\\u12g4\"]", "6: expected a hexadecimal digit"},
        {"[\"\\ud83d\"]", "8: half a pair of surrogates"},
        {"[\"\\ude00\\ud83d\"]", "8: half a pair of surrogates"},
        {"[\"\\ud83d\\ud83d\"]", "14: half a pair of surrogates"},
        {"[\"\xff\"]", "3: a text that is not UTF-8"},
        {"[\"\xed\xa0\x80\"]", "5: a text that is not UTF-8"},
    };
    for (const auto &[bytes, expected] : rows)
        EXPECT_EQ(errorOf(bytes), "not JSON at byte " + expected) << bytes.constData();
}

TEST(JsonReader, NamesAMissingKey) {
    try {
        const JsonDocument document("{}");
        JsonReader(document).required<bool>("cancelled");
        FAIL();
    } catch (const JsonError &error) {
        EXPECT_STREQ(error.what(), "cancelled: missing, expected true or false");
    }
}

} // namespace
