#include "sync/OneDriveNames.h"

#include "base/Text.h"

#include <gtest/gtest.h>

namespace {

struct SafeRow {
    const char *situation;
    std::string name;
    std::string safe;
};

TEST(SafeName, HasOneUnderscorePerPerceivedCharacterAndBadByte) {
    const SafeRow rows[] = {{"each of the eight", "w*x?y<z>|\\q\".txt:", "w_x_y_z___q_.txt_"},
                            {"blanks at the end", "end  ", "end"},
                            {"only blanks", "   ", "_"},
                            {"empty", "", "_"},
                            {"control characters", "\x01 a\x1F\x7F", "_ a__"},
                            {"zero byte", std::string("a\0b", 3), "a_b"},
                            {"carriage return and line feed are one", "a\r\nb", "a_b"},
                            {"line feed and carriage return are two", "a\n\rb", "a__b"},
                            {"a tab is a control character first", "a \t", "a _"},
                            {"blanks after a replaced character go", "a:  ", "a_"},
                            {"accent next to a bad character", "e\u0301:e\u0301", "e\u0301_e\u0301"},
                            {"accent of a bad character", "a:\u0301b", "a_b"},
                            {"accent after a control character stands alone", "\x03\u0301", "_\u0301"},
                            {"astral letter beside a bad one", "😀?😀", "😀_😀"},
                            {"Latin-1 letter", "caf\xE9.txt", "caf_.txt"},
                            {"one for each byte of a cut sequence", "\xF0\x9F\x98z", "___z"},
                            {"encoded surrogate", "\xED\xA0\x80", "___"},
                            {"overlong slash", "\xC0\xAF", "__"},
                            {"bad byte with a blank at the end", "é\xFF ", "é_"}};
    for (const auto &[situation, name, safe] : rows) {
        EXPECT_EQ(Text::toBytes(OneDriveNames::safe(std::string_view(name))), safe) << situation;
        EXPECT_FALSE(OneDriveNames::isAcceptable(name)) << situation;
    }
}

TEST(SafeName, IsTheNameItselfWhenOneDriveCanStoreIt) {
    for (const std::string name : {"[b] (x) – é e\u0301.txt", "👩\u200D👩\u200D👧 🇩🇪.jpg", " a", "a .txt", "a.", "a\u00A0",
                                   "a：b", "#%&{}~'^`", "a\u0080\u009F", "\uFEFFa", "a\uFFFD", "\U0010FFFF"}) {
        EXPECT_EQ(Text::toBytes(OneDriveNames::safe(std::string_view(name))), name);
        EXPECT_TRUE(OneDriveNames::isAcceptable(name)) << name;
    }
}

TEST(VisibleName, ShowsControlCharactersAndBlanksAtTheEnd) {
    const std::pair<std::string, std::string> rows[] = {
        {" a b", " a b"},          {"\x1F\x7F", "\u241F\x7F"}, {std::string("\0", 1), "\u2400"},
        {"  ", "\u2423"},          {"end    ", "end\u2423"},   {"a \t", "a \u2409"},
        {"a\t ", "a\u2409\u2423"}, {"a\u00A0", "a\u00A0"},     {"", ""}};
    for (const auto &[name, visible] : rows)
        EXPECT_EQ(Text::toBytes(OneDriveNames::visible(Text::fromBytes(name))), visible) << visible;
}

TEST(RefusedType, IsToldByTheTextAfterTheLastDot) {
    for (const std::string name : {"run.BAT", "a.txt.bat", ".bat", "é.Bat", "\xFF.bat"})
        EXPECT_EQ(OneDriveNames::refusedType(name), QStringLiteral(".bat")) << name;
    EXPECT_EQ(OneDriveNames::refusedType("LIB.JaR"), QStringLiteral(".jar"));
    EXPECT_EQ(OneDriveNames::refusedType("x.pid"), QStringLiteral(".pid"));
    for (const std::string name : {"jar", "abat", "a.bat.txt", "a.bat ", "a.batx", "a.ba", "a.bat.", "a.p\u0130d", ""})
        EXPECT_EQ(OneDriveNames::refusedType(name), std::nullopt) << name;
}

enum class Match { None, Folded, SameText };

struct MatchRow {
    const char *situation;
    std::string one;
    std::string other;
    Match match;
};

TEST(MatchedNames, IgnoreCaseAndCompositionAndNothingElse) {
    const MatchRow rows[] = {{"same name", "a.txt", "a.txt", Match::SameText},
                             {"capital letters", "A ReadMe.TXZ", "a readme.txz", Match::Folded},
                             {"signs beside the letters", "a[@", "a{`", Match::None},
                             {"é composed and decomposed", "caf\u00E9", "cafe\u0301", Match::SameText},
                             {"É decomposed and é composed", "E\u0301", "\u00E9", Match::Folded},
                             {"é and e", "caf\u00E9", "cafe", Match::None},
                             {"two marks in either order", "a\u0323\u0307", "a\u0307\u0323", Match::SameText},
                             {"Hangul syllable and its parts", "\uD55C", "\u1112\u1161\u11AB", Match::SameText},
                             {"ß and its capital", "stra\u00DFe", "STRA\u1E9EE", Match::Folded},
                             {"ß is not ss", "stra\u00DFe", "strasse", Match::None},
                             {"İ and i with a dot above", "\u0130", "i\u0307", Match::Folded},
                             {"İ is not i", "\u0130", "i", Match::None},
                             {"ı is not i", "\u0131", "I", Match::None},
                             {"Kelvin sign and K", "5 \u212A", "5 K", Match::SameText},
                             {"Kelvin sign and k", "5 \u212A", "5 k", Match::Folded},
                             {"letters outside the first plane", "\U00010400", "\U00010428", Match::Folded},
                             {"ligature stays one", "\uFB01", "fi", Match::None},
                             {"full-width letters stay so", "\uFF21", "a", Match::None},
                             {"bad byte and U+FFFD", "a\xFF", "a\uFFFD", Match::None},
                             {"two bad bytes", "a\xFF", "a\xFE", Match::None}};
    for (const auto &[situation, one, other, match] : rows) {
        std::string scratch[2];
        EXPECT_EQ(OneDriveNames::folded(one, scratch[0]) == OneDriveNames::folded(other, scratch[1]),
                  match != Match::None)
            << situation;
        // Asked only of names that match.
        if (match != Match::None)
            EXPECT_EQ(OneDriveNames::isSameText(one, other), match == Match::SameText) << situation;
    }
}

} // namespace
