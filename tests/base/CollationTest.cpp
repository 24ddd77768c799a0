#include "base/Collation.h"

#include <QStringList>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

TEST(Collation, IsTheOrderOfAFileBrowser) {
    QStringList names = {QStringLiteral("disk 10"), QStringLiteral("Zoo"),    QStringLiteral("Disk 2"),
                         QStringLiteral("éclair"),  QStringLiteral("DISK 1"), QStringLiteral("eclipse"),
                         QStringLiteral("a")};
    std::stable_sort(names.begin(), names.end(), Collation::less);
    EXPECT_EQ(names.join(u'|').toStdString(), "a|DISK 1|Disk 2|disk 10|éclair|eclipse|Zoo");
}

TEST(Collation, CaseMakesNoDifference) {
    EXPECT_EQ(Collation::compare(QStringLiteral("Photos"), QStringLiteral("PHOTOS")), 0);
    EXPECT_LT(Collation::compare(QStringLiteral("a9"), QStringLiteral("A10")), 0);
    EXPECT_GT(Collation::compare(QStringLiteral("A10"), QStringLiteral("a9")), 0);
}

} // namespace
