#include "records/SyncRun.h"

#include "base/Fmt.h"
#include "json/JsonReader.h"
#include "json/JsonWriter.h"

#include <QStringList>

QString SyncRun::headline() const {
    if (fatal)
        return *fatal;
    const QString files = Fmt::counted(filesCopied, QStringLiteral("file"));
    if (cancelled)
        return QStringLiteral("Sync cancelled after ") + files;

    QStringList phrases;
    if (filesCopied >= 1 || foldersCreated >= 1)
        phrases << files + QStringLiteral(" copied (") + Fmt::byteCount(bytesCopied) + u')';
    if (!skipped.empty())
        phrases << QString::number(skipped.size()) + QStringLiteral(" skipped");
    if (!errors.empty())
        phrases << Fmt::counted(static_cast<std::int64_t>(errors.size()), QStringLiteral("problem"));
    return phrases.isEmpty() ? QStringLiteral("Everything was already up to date")
                             : phrases.join(QStringLiteral(" · "));
}

void SyncRun::addError(const QString &line, const QString &path) {
    errorPaths.resize(errors.size());
    errors.push_back(line);
    errorPaths.push_back(path);
}

void SyncRun::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("bytesCopied", bytesCopied);
    out.member("cancelled", cancelled);
    out.member("changes", changes);
    out.member("changesOmitted", changesOmitted);
    out.member("conflicts", conflicts);
    if (!errorPaths.empty())
        out.member("errorPaths", errorPaths);
    out.member("errors", errors);
    out.member("fatal", fatal);
    out.member("filesCopied", filesCopied);
    out.member("finished", finished);
    out.member("foldersCreated", foldersCreated);
    out.member("id", id);
    out.member("keptNewer", keptNewer);
    out.member("notes", notes);
    out.member("pairNames", pairNames);
    out.member("pairResults", pairResults);
    out.member("skipped", skipped);
    out.member("started", started);
    out.member("trigger", trigger);
    out.member("upToDate", upToDate);
    out.endObject();
}

SyncRun SyncRun::fromJson(const JsonReader &in) {
    return {.id = in.required<QUuid>("id"),
            .started = in.required<QDateTime>("started"),
            .finished = in.required<QDateTime>("finished"),
            .trigger = in.required<SyncTrigger>("trigger"),
            .pairNames = in.required<std::vector<QString>>("pairNames"),
            .filesCopied = in.required<std::int64_t>("filesCopied"),
            .bytesCopied = in.required<std::int64_t>("bytesCopied"),
            .foldersCreated = in.required<std::int64_t>("foldersCreated"),
            .upToDate = in.required<std::int64_t>("upToDate"),
            .keptNewer = in.required<std::vector<QString>>("keptNewer"),
            .conflicts = in.required<std::vector<QString>>("conflicts"),
            .errors = in.required<std::vector<QString>>("errors"),
            .errorPaths = in.optional<std::vector<QString>>("errorPaths").value_or(std::vector<QString>()),
            .notes = in.required<std::vector<QString>>("notes"),
            .changes = in.required<std::vector<ChangeRecord>>("changes"),
            .changesOmitted = in.required<std::int64_t>("changesOmitted"),
            .pairResults = in.required<std::vector<PairResult>>("pairResults"),
            .skipped = in.required<std::vector<SkippedItem>>("skipped"),
            .cancelled = in.required<bool>("cancelled"),
            .fatal = in.optional<QString>("fatal")};
}
