#include "app/ResultText.h"

#include "app/Console.h"
#include "app/TarnwickBasicMain.h"
#include "base/Fmt.h"
#include "base/Text.h"
#include "json/Json.h"
#include "sync/OneDriveNames.h"
#include "sync/PlanText.h"

#include <algorithm>

namespace ResultText {

namespace {

/// So many skipped items are named; a folder full of them must not bury what matters.
constexpr std::size_t namedSkips = 20;

void printAll(const std::vector<QString> &texts, const Line &line) {
    for (const QString &text : texts)
        line(text);
}

/// Why an item is skipped, behind its path.
QString reason(SkipKind kind, const QString &detail) {
    return kind == SkipKind::name ? QStringLiteral("OneDrive would need the name “") + detail + u'”'
                                  : QStringLiteral("OneDrive doesn't accept ") + detail + QStringLiteral(" files");
}

void printSkipped(const std::vector<SkippedItem> &items, const Line &line) {
    const std::size_t count = std::min(items.size(), namedSkips);
    for (std::size_t i = 0; i < count; ++i)
        line(items[i].pairName + u'/' + items[i].relPath + QStringLiteral(" — skipped: ") +
             reason(items[i].kind, items[i].detail));
    if (items.size() > count)
        line(QStringLiteral("and ") + QString::number(items.size() - count) + QStringLiteral(" more skipped"));
}

QString headline(const PairPlan &plan) {
    if (plan.copies.empty() && plan.folders.empty())
        return QStringLiteral("Nothing would be copied");
    std::int64_t bytes = 0;
    for (const PlannedCopy &copy : plan.copies)
        bytes += copy.size;
    const auto files = static_cast<std::int64_t>(plan.copies.size());
    const auto folders = static_cast<std::int64_t>(plan.folders.size());
    return Fmt::counted(files, QStringLiteral("file")) + QStringLiteral(" would be copied (") + Fmt::byteCount(bytes) +
           QStringLiteral("), ") + Fmt::counted(folders, QStringLiteral("folder")) + QStringLiteral(" created");
}

} // namespace

void print(const SyncRun &run, const Line &line) {
    line(run.headline());
    printAll(run.errors, line);
    printAll(run.conflicts, line);
    printAll(run.keptNewer, line);
    printSkipped(run.skipped, line);
    printAll(run.notes, line);
}

int report(const SyncRun &run, Form form) {
    if (form == Form::Json)
        Console::outDocument(Json::toBytes(run));
    else
        print(run, &Console::out);
    if (run.cancelled)
        return TarnwickBasicMain::Stopped;
    return run.fatal || !run.errors.empty() ? TarnwickBasicMain::Trouble : TarnwickBasicMain::Clean;
}

void print(const PairPlan &plan, const Line &line) {
    line(headline(plan));
    for (const PlannedFolder &folder : plan.folders)
        line(QStringLiteral("create  ") + Text::fromPath(plan.url(folder)));
    for (const PlannedCopy &copy : plan.copies) {
        const bool isNew = copy.kind() == ChangeKind::added;
        line((isNew ? QStringLiteral("add     ") : QStringLiteral("update  ")) + Text::fromBytes(PairPlan::rel(copy)));
    }
    printAll(plan.problems, line);
    printAll(plan.conflicts, line);
    printAll(plan.keptNewer, line);
    for (const PlannedSkip &skip : plan.skipped)
        line(QStringLiteral("skip    ") + OneDriveNames::visible(Text::fromBytes(PairPlan::rel(skip))) +
             QStringLiteral(" — ") + reason(skip.kind, skip.detail));
    if (plan.refusedByClients.count > 0)
        line(PlanText::mayNotReachTheCloud(plan));
}

} // namespace ResultText
