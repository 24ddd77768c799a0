#include "sync/PairPlanJson.h"

#include <gtest/gtest.h>

namespace {

TEST(PairPlanJson, IsOneDocument) {
    PairPlan plan("/drive/Fotos", "/one/Fotos");
    const PlanFolder *sub = plan.addFolder(plan.top(), "S\u00FCd", "s\u00FCd");
    plan.folders = {{plan.top()}, {plan.addFolder(sub, "neu", "neu")}};
    const FileVersion *old = plan.store(FileVersion{3, {0, 0}});
    plan.copies.push_back({plan.top(), "a.txt", "a.txt", nullptr, 0, {1'700'000'000, 250'000'000}});
    plan.copies.push_back({sub, "B", "b", old, 5'000'000'000, {-2, 500'000'000}});
    plan.skipped = {{plan.top(), "x\"y", SkipKind::name, QStringLiteral("x_y")},
                    {sub, "bad\xFF.bat", SkipKind::type, QStringLiteral(".bat")}};
    plan.keptNewer = {QStringLiteral("k")};
    plan.conflicts = {QStringLiteral("c1"), QStringLiteral("c2")};
    plan.problems = {QStringLiteral("p\n")};
    plan.upToDate = 12;
    plan.skippedLinks = 3;
    plan.staleTemps = {{"s\u00FCd/.tw-a.twtmp"}};
    EXPECT_EQ(toJson(plan).toStdString(), R"({
  "conflicts" : [
    "c1",
    "c2"
  ],
  "copies" : [
    {
      "from" : "\/drive\/Fotos\/a.txt",
      "kind" : "added",
      "mtime" : 1700000000.25,
      "rel" : "a.txt",
      "size" : 0,
      "to" : "\/one\/Fotos\/a.txt"
    },
    {
      "from" : "\/drive\/Fotos\/Süd\/B",
      "kind" : "updated",
      "mtime" : -1.5,
      "rel" : "Süd\/B",
      "size" : 5000000000,
      "to" : "\/one\/Fotos\/süd\/b"
    }
  ],
  "folders" : [
    {
      "rel" : "",
      "url" : "\/one\/Fotos"
    },
    {
      "rel" : "Süd\/neu",
      "url" : "\/one\/Fotos\/süd\/neu"
    }
  ],
  "keptNewer" : [
    "k"
  ],
  "problems" : [
    "p\n"
  ],
  "skipped" : [
    {
      "detail" : "x_y",
      "kind" : "name",
      "rel" : "x\"y",
      "url" : "\/drive\/Fotos\/x\"y"
    },
    {
      "detail" : ".bat",
      "kind" : "type",
      "rel" : "Süd\/bad�.bat",
      "url" : "\/drive\/Fotos\/Süd\/bad�.bat"
    }
  ],
  "skippedLinks" : 3,
  "staleTemps" : [
    "\/one\/Fotos\/süd\/.tw-a.twtmp"
  ],
  "upToDate" : 12
})");
}

TEST(PairPlanJson, AnEmptyPlanHasEveryKey) {
    EXPECT_EQ(toJson(PairPlan("/a", "/b")).toStdString(), R"({
  "conflicts" : [],
  "copies" : [],
  "folders" : [],
  "keptNewer" : [],
  "problems" : [],
  "skipped" : [],
  "skippedLinks" : 0,
  "staleTemps" : [],
  "upToDate" : 0
})");
}

} // namespace
