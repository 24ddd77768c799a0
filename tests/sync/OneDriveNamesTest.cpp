#include "sync/OneDriveNames.h"

#include "base/Text.h"

#include <gtest/gtest.h>

namespace {

using Name = std::string;

struct SafeRow {
    const char *situation;
    Name name;
    Name safe;
};

void PrintTo(const SafeRow &row, std::ostream *out) {
    *out << row.situation;
}

class SafeNameTest : public testing::TestWithParam<SafeRow> {};

TEST_P(SafeNameTest, IsWhatOneDriveCouldStore) {
    const auto &[situation, name, safe] = GetParam();
    EXPECT_EQ(Text::toBytes(OneDriveNames::safe(std::string_view(name))), safe) << situation;
    EXPECT_EQ(OneDriveNames::isAcceptable(name), safe == name) << situation;
    if (Text::isUtf8(name)) {
        EXPECT_EQ(Text::toBytes(OneDriveNames::safe(Text::fromBytes(name))), safe) << situation;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Accepted, SafeNameTest,
    testing::Values(
        SafeRow{"ordinary", "Report 2024.docx", "Report 2024.docx"},
        SafeRow{"brackets, dash and accents", "[b] (x) – é à.txt", "[b] (x) – é à.txt"},
        SafeRow{"decomposed accent", "e\u0301.txt", "e\u0301.txt"},
        SafeRow{"emoji joined of several", "👩\u200D👩\u200D👧 🇩🇪.jpg", "👩\u200D👩\u200D👧 🇩🇪.jpg"},
        SafeRow{"leading blank", " a", " a"}, SafeRow{"blank before the extension", "a .txt", "a .txt"},
        SafeRow{"only a dot at the end", "a.", "a."},
        SafeRow{"no-break space at the end", "a\u00A0", "a\u00A0"},
        SafeRow{"full-width colon", "a：b", "a：b"}, SafeRow{"other punctuation", "#%&{}~'^`/", "#%&{}~'^`/"},
        SafeRow{"U+0080 and U+009F", "a\u0080\u009F", "a\u0080\u009F"},
        SafeRow{"U+FEFF in front", "\uFEFFa", "\uFEFFa"}, SafeRow{"U+FFFD itself", "a\uFFFD", "a\uFFFD"},
        SafeRow{"last code point", "\U0010FFFF", "\U0010FFFF"}));

INSTANTIATE_TEST_SUITE_P(
    Changed, SafeNameTest,
    testing::Values(SafeRow{"colon", "a:b.txt", "a_b.txt"},
                    SafeRow{"each of the eight", "w*x?y<z>|\\q\".txt:", "w_x_y_z___q_.txt_"},
                    SafeRow{"blanks at the end", "end  ", "end"}, SafeRow{"only blanks", "   ", "_"},
                    SafeRow{"empty", "", "_"}, SafeRow{"U+0003", "a\x03", "a_"},
                    SafeRow{"first and last control character",
                            "\x01"
                            "a\x1F",
                            "_a_"},
                    SafeRow{"DEL", "a\x7F", "a_"}, SafeRow{"zero byte", Name("a\0b", 3), "a_b"},
                    SafeRow{"carriage return and line feed are one", "a\r\nb", "a_b"},
                    SafeRow{"line feed and carriage return are two", "a\n\rb", "a__b"},
                    SafeRow{"a tab is a control character first", "a\t", "a_"},
                    SafeRow{"blank before a control character stays", "a \n", "a _"},
                    SafeRow{"blanks after a replaced character go", "a:  ", "a_"},
                    SafeRow{"accent next to a bad character", "e\u0301:e\u0301", "e\u0301_e\u0301"},
                    SafeRow{"accent after a control character stands alone", "\x03\u0301", "_\u0301"},
                    SafeRow{"astral letter beside a bad one", "😀?😀", "😀_😀"}));

INSTANTIATE_TEST_SUITE_P(NotUtf8, SafeNameTest,
                         testing::Values(SafeRow{"Latin-1 letter", "caf\xE9.txt", "caf_.txt"},
                                         SafeRow{"one for each byte of a cut sequence", "a\xF0\x9F\x98",
                                                 "a___"},
                                         SafeRow{"cut sequence and a letter", "\xE2\x82z", "__z"},
                                         SafeRow{"valid text beside a bad byte", "é\xFF😀", "é_😀"},
                                         SafeRow{"encoded surrogate", "\xED\xA0\x80", "___"},
                                         SafeRow{"overlong slash", "\xC0\xAF", "__"},
                                         SafeRow{"bad byte and a colon", "\xFF:", "__"},
                                         SafeRow{"bad byte with a blank at the end", "\xFF ", "_"}));

TEST(VisibleName, ShowsControlCharactersAndBlanksAtTheEnd) {
    const std::pair<Name, Name> rows[] = {{"plain", "plain"},
                                          {"a\x03"
                                           "b",
                                           "a\u2403b"},
                                          {Name("\0", 1), "\u2400"},
                                          {"\x1F", "\u241F"},
                                          {"a\x7F", "a\x7F"},
                                          {"end ", "end\u2423"},
                                          {"end    ", "end\u2423"},
                                          {"  ", "\u2423"},
                                          {" a b", " a b"},
                                          {"a\t", "a\u2409"},
                                          {"a \t", "a \u2409"},
                                          {"a\t ", "a\u2409\u2423"},
                                          {"a\u00A0", "a\u00A0"},
                                          {"", ""}};
    for (const auto &[name, visible] : rows)
        EXPECT_EQ(Text::toBytes(OneDriveNames::visible(Text::fromBytes(name))), visible) << visible;
}

TEST(RefusedType, IsToldByTheTextAfterTheLastDot) {
    const std::pair<Name, Name> rows[] = {{"tool.bat", ".bat"},
                                          {"run.BAT", ".bat"},
                                          {"LIB.JaR", ".jar"},
                                          {"x.pid", ".pid"},
                                          {"a.txt.pid", ".pid"},
                                          {".bat", ".bat"},
                                          {"é.Bat", ".bat"},
                                          {"\xFF.bat", ".bat"},
                                          {"jar", ""},
                                          {"a.txt", ""},
                                          {"a.bat.txt", ""},
                                          {"a.bat ", ""},
                                          {"a.batx", ""},
                                          {"a.ba", ""},
                                          {"a.bat.", ""},
                                          {"abat", ""},
                                          {"a.", ""},
                                          {"", ""},
                                          {"a.p\u0130d", ""},
                                          {"a.exe", ""}};
    for (const auto &[name, type] : rows) {
        const std::optional<QString> refused = OneDriveNames::refusedType(name);
        EXPECT_EQ(refused ? Text::toBytes(*refused) : "", type) << name;
    }
}

struct FoldRow {
    const char *situation;
    Name one;
    Name other;
    bool match;
};

void PrintTo(const FoldRow &row, std::ostream *out) {
    *out << row.situation;
}

class FoldedNameTest : public testing::TestWithParam<FoldRow> {};

TEST_P(FoldedNameTest, MatchesOrNot) {
    const auto &[situation, one, other, match] = GetParam();
    std::string scratchOne;
    std::string scratchOther;
    const std::string_view foldedOne = OneDriveNames::folded(one, scratchOne);
    const std::string_view foldedOther = OneDriveNames::folded(other, scratchOther);
    EXPECT_EQ(foldedOne == foldedOther, match) << situation << ": " << foldedOne << ", " << foldedOther;
    for (const Name &name : {one, other}) {
        if (Text::isUtf8(name)) {
            std::string scratch;
            EXPECT_EQ(OneDriveNames::folded(name, scratch),
                      Text::toBytes(OneDriveNames::folded(Text::fromBytes(name))));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Names, FoldedNameTest,
    testing::Values(FoldRow{"capital letters", "ReadMe.txt", "readme.TXT", true},
                    FoldRow{"first letter", "A", "a", true}, FoldRow{"last letter", "Z", "z", true},
                    FoldRow{"other name", "readme.txt", "readme.txt2", false},
                    FoldRow{"brackets are no letters", "a[b", "a{b", false},
                    FoldRow{"at sign is no letter", "@", "`", false},
                    FoldRow{"é composed and decomposed", "caf\u00E9", "cafe\u0301", true},
                    FoldRow{"É decomposed and é composed", "E\u0301", "\u00E9", true},
                    FoldRow{"é and e", "caf\u00E9", "cafe", false},
                    FoldRow{"two marks in either order", "a\u0323\u0307", "a\u0307\u0323", true},
                    FoldRow{"Hangul syllable and its parts", "\uD55C", "\u1112\u1161\u11AB", true},
                    FoldRow{"ß and its capital", "stra\u00DFe", "STRA\u1E9EE", true},
                    FoldRow{"ß is not ss", "stra\u00DFe", "strasse", false},
                    FoldRow{"İ in both forms", "\u0130", "I\u0307", true},
                    FoldRow{"İ and i with a dot above", "\u0130", "i\u0307", true},
                    FoldRow{"İ is not i", "\u0130", "i", false}, FoldRow{"ı is not i", "\u0131", "I", false},
                    FoldRow{"sigma in the middle", "\u039F\u03A3\u039F", "\u03BF\u03C3\u03BF", true},
                    FoldRow{"capital sigma at the end, twice the same", "\u039F\u03A3.", "\u03BF\u03A3.",
                            true},
                    FoldRow{"Kelvin sign and k", "\u212A", "k", true},
                    FoldRow{"Kelvin sign and K in a name", "5 \u212A", "5 K", true},
                    FoldRow{"Angstrom sign and å", "\u212B", "\u00E5", true},
                    FoldRow{"Dž in three forms", "\u01C4", "\u01C5", true},
                    FoldRow{"letters outside the first plane", "\U00010400", "\U00010428", true},
                    FoldRow{"ligature stays one", "\uFB01", "fi", false},
                    FoldRow{"full-width letters stay so", "\uFF21", "a", false},
                    FoldRow{"full-width capital", "\uFF21", "\uFF41", true},
                    FoldRow{"bad byte and U+FFFD", "a\xFF", "a\uFFFD", false},
                    FoldRow{"two bad bytes", "a\xFF", "a\xFE", false},
                    FoldRow{"the same bad byte", "a\xFF", "a\xFF", true}));

TEST(SameText, HoldsForEveryCompositionButNotForOtherLetters) {
    EXPECT_TRUE(OneDriveNames::isSameText("a.txt", "a.txt"));
    EXPECT_FALSE(OneDriveNames::isSameText("a.txt", "A.txt"));
    EXPECT_TRUE(OneDriveNames::isSameText("caf\u00E9", "cafe\u0301"));
    EXPECT_FALSE(OneDriveNames::isSameText("caf\u00E9", "cafE\u0301"));
    EXPECT_FALSE(OneDriveNames::isSameText("caf\u00E9", "cafe"));
    EXPECT_TRUE(OneDriveNames::isSameText("5 \u212A", "5 K")) << "the Kelvin sign is a K to Unicode";
    EXPECT_FALSE(OneDriveNames::isSameText("5 \u212A", "5 k"));
}

} // namespace
