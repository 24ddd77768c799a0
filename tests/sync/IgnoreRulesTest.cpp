#include "sync/IgnoreRules.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

using IgnoreRules::Verdict;

namespace {

TEST(IgnoreRules, TellHousekeepingFromNearMisses) {
    const std::pair<Verdict, std::vector<std::string>> rows[] = {
        {Verdict::StaleTemporary, {".tw-abcdef123456.twtmp", ".tw-old-abcdef123456.twtmp", ".tw-\xFF.twtmp"}},
        {Verdict::Skip,
         {".tw-abc.txt", ".TW-abcdef123456.twtmp", ".tw-twtmp", "notes.TWTMP", "\u00C4.TwTmp", ".DS_Store", ".\u00E9",
          "~$report.docx", "~$", "~WRL0001.tmp", "~.TMP", "~\u00DC.tMp", "~\xFF.tmp", "Thumbs.DB", "desktop.ini",
          "des\u212Atop.ini", "$Recycle.Bin", "System Volume Information", "ICON\r"}},
        {Verdict::Keep,
         {"notes.twtmp.txt", "notestwtmp", "notes.tmp", "a.DS_Store", "\u2024hidden", "$~report.docx", "a~$report.docx",
          "~x.tmp.txt", "~xtmp", "x~.tmp", "~report.docx", "~"}},
        {Verdict::Keep,
         {"Thumbs.db.txt", "xThumbs.db", "desktop.\u0130n\u0130", "desktop.ini ", "Recycle.Bin", "Icon", "Icon\n",
          "Icons\r", "System_Volume_Information", "plain.txt"}}};
    for (const auto &[verdict, names] : rows) {
        for (const std::string &name : names)
            EXPECT_EQ(IgnoreRules::judge(name), verdict) << testing::PrintToString(name);
    }
}

} // namespace
