#include "sync/IgnoreRules.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <utility>

using IgnoreRules::Verdict;

namespace {

void expectVerdicts(std::initializer_list<std::pair<const char *, Verdict>> rows) {
    for (const auto &[name, verdict] : rows)
        EXPECT_EQ(IgnoreRules::judge(name), verdict) << testing::PrintToString(name);
}

TEST(IgnoreRules, OwnTemporaries) {
    expectVerdicts({{".tw-abcdef123456.twtmp", Verdict::StaleTemporary},
                    {".tw-old-abcdef123456.twtmp", Verdict::StaleTemporary},
                    {".tw-.twtmp", Verdict::StaleTemporary},
                    {".tw-\xFF.twtmp", Verdict::StaleTemporary},
                    {".tw-abc.txt", Verdict::Skip},
                    {".TW-abcdef123456.twtmp", Verdict::Skip},
                    {".tw-abcdef123456.TWTMP", Verdict::Skip},
                    {".tw-twtmp", Verdict::Skip},
                    {".twtmp", Verdict::Skip},
                    {"tw-abcdef123456.twtmp", Verdict::Skip},
                    {"notes.twtmp", Verdict::Skip},
                    {"notes.TWTMP", Verdict::Skip},
                    {"\u00C4.TwTmp", Verdict::Skip},
                    {"notes.twtmp.txt", Verdict::Keep},
                    {"notes.twtmp.zip", Verdict::Keep},
                    {"notestwtmp", Verdict::Keep},
                    {"notes.tmp", Verdict::Keep}});
}

TEST(IgnoreRules, HiddenAndOffice) {
    expectVerdicts({{".DS_Store", Verdict::Skip},
                    {"._a.txt", Verdict::Skip},
                    {".TemporaryItems", Verdict::Skip},
                    {".\u00E9", Verdict::Skip},
                    {"..txt", Verdict::Skip},
                    {"a.DS_Store", Verdict::Keep},
                    {"\u2024hidden", Verdict::Keep},
                    {"~$report.docx", Verdict::Skip},
                    {"~$", Verdict::Skip},
                    {"$~report.docx", Verdict::Keep},
                    {"a~$report.docx", Verdict::Keep},
                    {"~WRL0001.tmp", Verdict::Skip},
                    {"~x.TMP", Verdict::Skip},
                    {"~.tmp", Verdict::Skip},
                    {"~\u00DC.tMp", Verdict::Skip},
                    {"~\xFF.tmp", Verdict::Skip},
                    {"~x.tmp.txt", Verdict::Keep},
                    {"~x.tmp.zip", Verdict::Keep},
                    {"~xtmp", Verdict::Keep},
                    {"x~.tmp", Verdict::Keep},
                    {"~report.docx", Verdict::Keep},
                    {"~", Verdict::Keep}});
}

TEST(IgnoreRules, Housekeeping) {
    expectVerdicts({{"Thumbs.db", Verdict::Skip},
                    {"Thumbs.DB", Verdict::Skip},
                    {"Thumbs.db.txt", Verdict::Keep},
                    {"xThumbs.db", Verdict::Keep},
                    {"Thumbs", Verdict::Keep},
                    {"desktop.ini", Verdict::Skip},
                    {"Desktop.INI", Verdict::Skip},
                    {"des\u212Atop.ini", Verdict::Skip}, // with the Kelvin sign
                    {"desktop.\u0130n\u0130", Verdict::Keep},
                    {"desktop.ini ", Verdict::Keep},
                    {"$Recycle.Bin", Verdict::Skip},
                    {"Recycle.Bin", Verdict::Keep},
                    {"System Volume Information", Verdict::Skip},
                    {"System Volume Informatio\u0144", Verdict::Keep},
                    {"System_Volume_Information", Verdict::Keep},
                    {"Icon\r", Verdict::Skip},
                    {"ICON\r", Verdict::Skip},
                    {"Icon", Verdict::Keep},
                    {"Icon\n", Verdict::Keep},
                    {"Icons\r", Verdict::Keep},
                    {"plain.txt", Verdict::Keep}});
}

} // namespace
