#include "sync/PairPlanJson.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

namespace {

TEST(PairPlanJson, IsOneDocument) {
    PairPlan plan("/drive/Fotos", "/one/Fotos");
    const PlanFolder *sub = plan.addFolder(plan.top(), "S\u00FCd", "s\u00FCd");
    plan.folders = {{plan.top()}, {plan.addFolder(sub, "neu", "neu")}};
    plan.copies.push_back({plan.top(), "a.txt", "a.txt", nullptr, 0, {1'700'000'000, 250'000'000}});
    plan.copies.push_back({sub, "B", "b", plan.store(FileVersion{3, {0, 0}}), 5'000'000'000, {-2, 500'000'000}});
    plan.skipped = {{plan.top(), "x\"y", SkipKind::name, QStringLiteral("x_y")},
                    {sub, "bad\xFF.bat", SkipKind::type, QStringLiteral(".bat")}};
    plan.keptNewer = {QStringLiteral("k")};
    plan.conflicts = {QStringLiteral("c")};
    plan.problems = {QStringLiteral("p1"), QStringLiteral("p2")};
    plan.upToDate = 12;
    plan.staleTemps = {{"s\u00FCd/.tw-a.twtmp"}};
    const QByteArray compact = QJsonDocument::fromJson(toJson(plan)).toJson(QJsonDocument::Compact);
    EXPECT_EQ(compact.toStdString(),
              R"({"conflicts":["c"],"copies":[)"
              R"({"from":"/drive/Fotos/a.txt","kind":"added","mtime":1700000000.25,"rel":"a.txt","size":0,)"
              R"("to":"/one/Fotos/a.txt"},)"
              R"({"from":"/drive/Fotos/Süd/B","kind":"updated","mtime":-1.5,"rel":"Süd/B","size":5000000000,)"
              R"("to":"/one/Fotos/süd/b"}],)"
              R"("folders":[{"rel":"","url":"/one/Fotos"},{"rel":"Süd/neu","url":"/one/Fotos/süd/neu"}],)"
              R"("keptNewer":["k"],"problems":["p1","p2"],"skipped":[)"
              R"({"detail":"x_y","kind":"name","rel":"x\"y","url":"/drive/Fotos/x\"y"},)"
              R"({"detail":".bat","kind":"type","rel":"Süd/bad�.bat","url":"/drive/Fotos/Süd/bad�.bat"}],)"
              R"("skippedLinks":0,"staleTemps":["/one/Fotos/süd/.tw-a.twtmp"],"upToDate":12})");
}

} // namespace
