#include "sync/OneDriveNames.h"

#include "base/Text.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

TEST(SafeName, HasOneUnderscorePerPerceivedCharacterAndBadByte) {
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"each of the eight", "w*x?y<z>|\\q\".txt:", "w_x_y_z___q_.txt_"},
        {"blanks at the end", "end  ", "end"},
        {"empty", "", "_"},
        {"control characters", "\x01 a\x1F\x7F", "_ a__"},
        {"zero byte", std::string("a\0b", 3), "a_b"},
        {"carriage return and line feed are one", "a\r\nb", "a_b"},
        {"a tab is a control character first", "a \t", "a _"},
        {"blanks after a replaced character go", "a:  ", "a_"},
        {"accent of a bad character", "a:\u0301b", "a_b"},
        {"one for each byte of a cut sequence", "\xF0\x9F\x98z", "___z"},
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
    for (const std::string name : {"run.BAT", "a.txt.bat", ".bat", "\xFF.bat"})
        EXPECT_EQ(OneDriveNames::refusedType(name), QStringLiteral(".bat")) << name;
    EXPECT_EQ(OneDriveNames::refusedType("LIB.JaR"), QStringLiteral(".jar"));
    for (const std::string name : {"jar", "abat", "a.bat.txt", "a.bat ", "a.batx", "a.ba", "a.bat.", "a.p\u0130d", ""})
        EXPECT_EQ(OneDriveNames::refusedType(name), std::nullopt) << name;
}

enum class Match { None, Folded, SameText };

TEST(MatchedNames, IgnoreCaseAndCompositionAndNothingElse) {
    const std::tuple<const char *, std::string, std::string, Match> rows[] = {
        {"same name", "a.txt", "a.txt", Match::SameText},
        {"capital letters", "A ReadMe.TXZ", "a readme.txz", Match::Folded},
        {"signs beside the letters", "a[@", "a{`", Match::None},
        {"é composed and decomposed", "caf\u00E9", "cafe\u0301", Match::SameText},
        {"É decomposed and é composed", "E\u0301", "\u00E9", Match::Folded},
        {"two marks in either order", "a\u0323\u0307", "a\u0307\u0323", Match::SameText},
        {"ß and its capital", "stra\u00DFe", "STRA\u1E9EE", Match::Folded},
        {"ß is not ss", "stra\u00DFe", "strasse", Match::None},
        {"İ is not i", "\u0130", "i", Match::None},
        {"Kelvin sign and K", "5 \u212A", "5 K", Match::SameText},
        {"Kelvin sign and k", "5 \u212A", "5 k", Match::Folded},
        {"bad byte and U+FFFD", "a\xFF", "a\uFFFD", Match::None}};
    for (const auto &[situation, one, other, match] : rows) {
        std::string scratch[2];
        EXPECT_EQ(OneDriveNames::folded(one, scratch[0]) == OneDriveNames::folded(other, scratch[1]),
                  match != Match::None)
            << situation;
        // Of bad bytes nobody asks: they match themselves alone.
        EXPECT_EQ(match != Match::None && OneDriveNames::isSameText(one, other), match == Match::SameText) << situation;
    }
}

TEST(ClientNames, AreThoseThatClientsRefuse) {
    for (const std::string name : {" a", "a.", "..a.", "CON", "con.txt", "Prn.", "aux.tar.gz", "NUL", "COM0", "com9.x",
                                   "LPT1", "_vti_", "a_VTI_b"})
        EXPECT_TRUE(OneDriveNames::isRefusedByClients(name)) << name;
    for (const std::string name : {"a", "a b", "CONE", "co", "xCON", "COM", "COM10", "COMX.a", "LPT", "icon.nul",
                                   "con_", "vti_", "_vti", "Ä", "nu\u0308l", "a .txt"})
        EXPECT_FALSE(OneDriveNames::isRefusedByClients(name)) << name;
}

TEST(FolderNames, AreRefusedWhereOneOnThePathCannotBeStored) {
    for (const char *path : {"a:b", "a/end ", "a?/b", "x/\t/y"})
        EXPECT_TRUE(OneDriveNames::folderRefusal(QString::fromUtf8(path))) << path;
    for (const char *path : {"", "a", "a/ b/c.", "Bücher/é"})
        EXPECT_FALSE(OneDriveNames::folderRefusal(QString::fromUtf8(path))) << path;
}

} // namespace
