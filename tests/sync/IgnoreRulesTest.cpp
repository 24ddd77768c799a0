#include "sync/IgnoreRules.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

using IgnoreRules::Verdict;

namespace {

TEST(IgnoreRules, TellHousekeepingFromNearMisses) {
    const std::pair<Verdict, std::vector<std::string>> rows[] = {
        // The rule for the program's own files comes first, though their names are hidden ones as well.
        {Verdict::StaleTemporary,
         {".tw-abcdef123456.twtmp", ".tw-old-abcdef123456.twtmp", ".tw-.twtmp", ".tw-\xFF.twtmp"}},
        {Verdict::Skip,
         {".tw-abc.txt", ".TW-abcdef123456.twtmp", ".tw-abcdef123456.TWTMP", ".tw-twtmp", "tw-abcdef123456.twtmp",
          "notes.TWTMP", "\u00C4.TwTmp"}},
        {Verdict::Keep, {"notes.twtmp.txt", "notestwtmp", "notes.tmp"}},
        {Verdict::Skip,
         {".DS_Store", "._a.txt", ".\u00E9", "~$report.docx", "~$", "~WRL0001.tmp", "~.TMP", "~\u00DC.tMp",
          "~\xFF.tmp"}},
        {Verdict::Keep,
         {"a.DS_Store", "\u2024hidden", "$~report.docx", "a~$report.docx", "~x.tmp.txt", "~xtmp", "x~.tmp",
          "~report.docx", "~"}},
        {Verdict::Skip,
         {"Thumbs.DB", "desktop.ini", "des\u212Atop.ini" /* with the Kelvin sign */, "$Recycle.Bin",
          "System Volume Information", "ICON\r"}},
        {Verdict::Keep,
         {"Thumbs.db.txt", "xThumbs.db", "Thumbs", "desktop.\u0130n\u0130", "desktop.ini ", "Recycle.Bin",
          "System_Volume_Information", "Icon", "Icon\n", "Icons\r", "plain.txt"}}};
    for (const auto &[verdict, names] : rows) {
        for (const std::string &name : names)
            EXPECT_EQ(IgnoreRules::judge(name), verdict) << testing::PrintToString(name);
    }
}

} // namespace
