#include "sync/PairPlanJson.h"

#include "base/Text.h"
#include "json/JsonWriter.h"

namespace {

double secondsOf(FileTime time) {
    return secondsBetween(time, FileTime{});
}

void writeCopies(JsonWriter &out, const PairPlan &plan) {
    out.key("copies");
    out.beginArray();
    for (const PlannedCopy &copy : plan.copies) {
        out.beginObject();
        out.member("from", Text::fromPath(plan.from(copy)));
        out.member("kind", copy.kind());
        out.member("mtime", secondsOf(copy.mtime));
        out.member("rel", Text::fromBytes(PairPlan::rel(copy)));
        out.member("size", copy.size);
        out.member("to", Text::fromPath(plan.to(copy)));
        out.endObject();
    }
    out.endArray();
}

void writeFolders(JsonWriter &out, const PairPlan &plan) {
    out.key("folders");
    out.beginArray();
    for (const PlannedFolder &folder : plan.folders) {
        out.beginObject();
        out.member("rel", Text::fromBytes(PairPlan::rel(folder.folder)));
        out.member("url", Text::fromPath(plan.url(folder)));
        out.endObject();
    }
    out.endArray();
}

void writeSkipped(JsonWriter &out, const PairPlan &plan) {
    out.key("skipped");
    out.beginArray();
    for (const PlannedSkip &skip : plan.skipped) {
        out.beginObject();
        out.member("detail", skip.detail);
        out.member("kind", skip.kind);
        out.member("rel", Text::fromBytes(PairPlan::rel(skip)));
        out.member("url", Text::fromPath(plan.url(skip)));
        out.endObject();
    }
    out.endArray();
}

} // namespace

QByteArray toJson(const PairPlan &plan) {
    std::vector<QString> staleTemps;
    for (const PlannedLeftover &leftover : plan.staleTemps)
        staleTemps.push_back(Text::fromPath(plan.url(leftover)));
    JsonWriter out;
    out.beginObject();
    out.member("conflicts", plan.conflicts);
    writeCopies(out, plan);
    writeFolders(out, plan);
    out.member("keptNewer", plan.keptNewer);
    out.member("problems", plan.problems);
    writeSkipped(out, plan);
    out.member("skippedLinks", plan.skippedLinks);
    out.member("staleTemps", staleTemps);
    out.member("upToDate", plan.upToDate);
    out.endObject();
    return out.take();
}
