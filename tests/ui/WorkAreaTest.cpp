#include "ui/WorkArea.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

TEST(WorkAreaTest, AWindowKeepsItsPlaceAndSizeAsFarAsTheyFit) {
    const QRect area(0, 30, 1000, 570);
    const QMargins frame(2, 20, 2, 4);
    struct Row {
        const char *situation;
        QRect wanted, expected;
    };
    const std::vector<Row> rows = {{"fits", {100, 100, 500, 300}, {100, 100, 500, 300}},
                                   {"fits to the last pixel", {2, 50, 996, 546}, {2, 50, 996, 546}},
                                   {"title bar under the panel", {100, 40, 500, 300}, {100, 50, 500, 300}},
                                   {"lower end off the screen", {100, 400, 500, 300}, {100, 296, 500, 300}},
                                   {"left of the screen", {-700, 100, 500, 300}, {2, 100, 500, 300}},
                                   {"right of the screen", {3000, 100, 500, 300}, {498, 100, 500, 300}},
                                   {"too high", {100, 100, 500, 900}, {100, 50, 500, 546}},
                                   {"too large", {-50, -50, 3840, 2160}, {2, 50, 996, 546}}};
    for (const Row &row : rows)
        EXPECT_EQ(WorkArea::fit(row.wanted, area, frame), row.expected) << row.situation;
}

} // namespace
