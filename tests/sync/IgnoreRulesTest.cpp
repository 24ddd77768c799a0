#include "sync/IgnoreRules.h"

#include <gtest/gtest.h>

#include <string>

using IgnoreRules::Verdict;

namespace {

struct Row {
    const char *name;
    Verdict verdict;
};

class IgnoreRulesTest : public testing::TestWithParam<Row> {};

TEST_P(IgnoreRulesTest, JudgesByTheFirstRuleThatApplies) {
    EXPECT_EQ(IgnoreRules::judge(GetParam().name), GetParam().verdict) << GetParam().name;
}

INSTANTIATE_TEST_SUITE_P(OwnTemporaries, IgnoreRulesTest,
                         testing::Values(Row{".tw-abcdef123456.twtmp", Verdict::StaleTemporary},
                                         Row{".tw-old-abcdef123456.twtmp", Verdict::StaleTemporary},
                                         Row{".tw-.twtmp", Verdict::StaleTemporary},
                                         Row{".tw-\xFF.twtmp", Verdict::StaleTemporary},
                                         Row{".tw-abc.txt", Verdict::Skip}, Row{".TW-abcdef123456.twtmp", Verdict::Skip},
                                         Row{".tw-abcdef123456.TWTMP", Verdict::Skip}, Row{".tw-twtmp", Verdict::Skip},
                                         Row{".twtmp", Verdict::Skip}, Row{"tw-abcdef123456.twtmp", Verdict::Skip},
                                         Row{"notes.twtmp", Verdict::Skip}, Row{"notes.TWTMP", Verdict::Skip},
                                         Row{"\u00C4.TwTmp", Verdict::Skip}, Row{"notes.twtmp.txt", Verdict::Keep},
                                         Row{"notestwtmp", Verdict::Keep}, Row{"notes.tmp", Verdict::Keep}));

INSTANTIATE_TEST_SUITE_P(HiddenAndOffice, IgnoreRulesTest,
                         testing::Values(Row{".DS_Store", Verdict::Skip}, Row{"._a.txt", Verdict::Skip},
                                         Row{".TemporaryItems", Verdict::Skip}, Row{".\u00E9", Verdict::Skip},
                                         Row{"..txt", Verdict::Skip}, Row{"a.DS_Store", Verdict::Keep},
                                         Row{"\u2024hidden", Verdict::Keep}, Row{"~$report.docx", Verdict::Skip},
                                         Row{"~$", Verdict::Skip}, Row{"$~report.docx", Verdict::Keep},
                                         Row{"a~$report.docx", Verdict::Keep}, Row{"~WRL0001.tmp", Verdict::Skip},
                                         Row{"~x.TMP", Verdict::Skip}, Row{"~.tmp", Verdict::Skip},
                                         Row{"~\u00DC.tMp", Verdict::Skip}, Row{"~\xFF.tmp", Verdict::Skip},
                                         Row{"~x.tmp.txt", Verdict::Keep}, Row{"~xtmp", Verdict::Keep},
                                         Row{"x~.tmp", Verdict::Keep}, Row{"~report.docx", Verdict::Keep},
                                         Row{"~", Verdict::Keep}));

INSTANTIATE_TEST_SUITE_P(
    Housekeeping, IgnoreRulesTest,
    testing::Values(Row{"Thumbs.db", Verdict::Skip}, Row{"Thumbs.DB", Verdict::Skip}, Row{"Thumbs.db.txt", Verdict::Keep},
                    Row{"xThumbs.db", Verdict::Keep}, Row{"Thumbs", Verdict::Keep}, Row{"desktop.ini", Verdict::Skip},
                    Row{"Desktop.INI", Verdict::Skip}, Row{"Des\u212Atop.ini", Verdict::Skip}, // Kelvin sign
                    Row{"desktop.\u0130n\u0130", Verdict::Keep}, Row{"desktop.ini ", Verdict::Keep},
                    Row{"$Recycle.Bin", Verdict::Skip}, Row{"Recycle.Bin", Verdict::Keep},
                    Row{"System Volume Information", Verdict::Skip}, Row{"System Volume Informatio\u0144", Verdict::Keep},
                    Row{"System_Volume_Information", Verdict::Keep}, Row{"Icon\r", Verdict::Skip},
                    Row{"ICON\r", Verdict::Skip}, Row{"Icon", Verdict::Keep}, Row{"Icon\n", Verdict::Keep},
                    Row{"Icons\r", Verdict::Keep}, Row{"plain.txt", Verdict::Keep}));

} // namespace
