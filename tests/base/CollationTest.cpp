#include "base/Collation.h"

#include <QStringList>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

TEST(Collation, IsTheOrderOfAFileBrowser) {
    QStringList names = QStringLiteral("disk 10|Zoo|Disk 2|éclair|DISK 1|eclipse|a").split(u'|');
    std::stable_sort(names.begin(), names.end(), Collation::less);
    EXPECT_EQ(names.join(u'|').toStdString(), "a|DISK 1|Disk 2|disk 10|éclair|eclipse|Zoo");
}

} // namespace
