#include "base/Text.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const char *situation;
    std::string bytes;
    bool isUtf8;
    /// What is shown.
    QString text;
};

const QChar bad = QChar::ReplacementCharacter;

const Row rows[] = {
    {"empty", "", true, QString()},
    {"ASCII", "abc", true, QStringLiteral("abc")},
    {"a zero byte", std::string("a\0b", 3), true, QStringLiteral("a") + QChar(0) + u'b'},
    {"two bytes", "\xC3\xA9", true, QStringLiteral("é")},
    {"three bytes after eight ASCII ones", "12345678\xE2\x82\xAC", true, QStringLiteral("12345678€")},
    {"four bytes", "\xF0\x9F\x98\x80", true, QStringLiteral("😀")},
    {"last code point", "\xF4\x8F\xBF\xBF", true, QStringLiteral("\U0010FFFF")},
    {"U+FFFD itself", "\xEF\xBF\xBD", true, QString(bad)},
    {"U+FEFF alone", "\xEF\xBB\xBF", true, QStringLiteral("\uFEFF")},
    {"U+FEFF in front",
     "\xEF\xBB\xBF"
     "a",
     true, QStringLiteral("\uFEFFa")},
    {"U+FEFF twice", "\xEF\xBB\xBF\xEF\xBB\xBF\xC3\xA9", true, QStringLiteral("\uFEFF\uFEFFé")},
    {"Latin-1 letter", "caf\xE9", false, QStringLiteral("caf") + bad},
    {"U+FEFF and a Latin-1 letter",
     "\xEF\xBB\xBF"
     "caf\xE9",
     false, QStringLiteral("\uFEFFcaf") + bad},
    {"Latin-1 letter between ASCII", "a\xE9z", false, QStringLiteral("a") + bad + u'z'},
    {"lone continuation byte", "\x80", false, QString(bad)},
    {"cut off after the first of two", "12345678\xC3", false, QStringLiteral("12345678") + bad},
};

TEST(Text, BytesAsTextAndBack) {
    for (const Row &row : rows) {
        SCOPED_TRACE(row.situation);
        EXPECT_EQ(Text::isUtf8(row.bytes), row.isUtf8);
        EXPECT_EQ(Text::fromBytes(row.bytes).toStdString(), row.text.toStdString());
        EXPECT_EQ(Text::toBytes(Text::fromBytes(row.bytes)) == row.bytes, row.isUtf8);
        EXPECT_EQ(Text::toPath(Text::fromPath(row.bytes)).native() == row.bytes, row.isUtf8);
    }
}

TEST(Text, IllFormedUtf8) {
    const std::pair<const char *, std::string> cases[] = {{"overlong slash", "\xC0\xAF"},
                                                          {"overlong three bytes", "\xE0\x80\xAF"},
                                                          {"encoded surrogate", "\xED\xA0\x80"},
                                                          {"beyond the last code point", "\xF4\x90\x80\x80"},
                                                          {"byte FF", "a\xFF"},
                                                          {"cut off in the middle", "\xF0\x9F\x98"},
                                                          {"cut off mark", "\xEF\xBB"},
                                                          {"byte FE", "\xFE"}};
    for (const auto &[situation, bytes] : cases)
        EXPECT_FALSE(Text::isUtf8(bytes)) << situation;
}

TEST(Text, EveryPlaceIsLookedAtForAscii) {
    for (std::size_t length = 0; length < 20; ++length) {
        std::string bytes(length, 'a');
        EXPECT_TRUE(Text::isAscii(bytes));
        for (std::size_t at = 0; at < length; ++at) {
            bytes[at] = '\x80';
            EXPECT_FALSE(Text::isAscii(bytes)) << length << ' ' << at;
            bytes[at] = 'a';
        }
    }
}

TEST(Text, OnlyAsciiLettersAreLowered) {
    EXPECT_EQ(Text::asciiLower("@AZ[az\xC3\x84"), "@az[az\xC3\x84");
}

} // namespace
