#include "ui/SyncCardText.h"

#include "base/Fmt.h"
#include "model/AppModel.h"
#include "ui/Theme.h"

#include <algorithm>

namespace SyncCardText {

namespace {

QString busySubtitle(const SyncProgress &progress) {
    if (progress.stage == SyncProgress::Stage::scanning) {
        const QString compared = Fmt::grouped(progress.scanned) + QStringLiteral(" files compared");
        return progress.pairName.isEmpty() ? compared : compared + QStringLiteral(" · ") + progress.pairName;
    }
    // The file that is being copied counts as under way, and those before it wait for the disk at most.
    const std::int64_t underWay = std::min(std::max(progress.filesBegun, progress.filesDone + 1), progress.filesTotal);
    const QString copied = QString::number(underWay) + QStringLiteral(" of ") + QString::number(progress.filesTotal) +
                           QStringLiteral(" files · ") + Fmt::byteCount(progress.bytesDone) + QStringLiteral(" of ") +
                           Fmt::byteCount(progress.bytesTotal);
    return progress.currentFile.isEmpty() ? copied : copied + u'\n' + progress.currentFile;
}

} // namespace

bool isCopying(const AppModel &model) {
    return model.busy() && model.progress().stage == SyncProgress::Stage::copying;
}

bool isClean(const SyncRun &run) {
    return !run.fatal && run.errors.empty() && !run.cancelled;
}

QString iconName(const AppModel &model) {
    const SyncRun *last = model.lastRun();
    if (!last)
        return model.canSync() ? QStringLiteral("arrow.triangle.2.circlepath")
                               : QStringLiteral("externaldrive.badge.questionmark");
    if (!model.canSync())
        return QStringLiteral("externaldrive");
    return isClean(*last) ? QStringLiteral("checkmark") : QStringLiteral("exclamationmark");
}

QColor iconColour(const AppModel &model, const QPalette &palette) {
    if (model.busy())
        return Theme::accent(palette);
    if (!model.canSync())
        return Theme::secondary(palette);
    const SyncRun *last = model.lastRun();
    if (!last)
        return Theme::accent(palette);
    return isClean(*last) ? Theme::good(palette) : Theme::warning(palette);
}

QString title(const AppModel &model) {
    if (const std::optional<QString> place = model.awaitedPlace())
        return QStringLiteral("Waiting for “") + *place + QStringLiteral("”…");
    if (model.busy())
        return isCopying(model) ? QStringLiteral("Syncing “") + model.progress().pairName + QStringLiteral("”…")
                                : QStringLiteral("Checking for changes…");
    if (const std::optional<QString> blocker = model.syncBlocker())
        return *blocker;
    return QStringLiteral("Ready to sync ") +
           Fmt::counted(static_cast<std::int64_t>(model.readyPairs().size()), QStringLiteral("folder"));
}

QString subtitle(const AppModel &model) {
    if (model.busy())
        return busySubtitle(model.progress());
    if (model.message())
        return *model.message();
    if (const SyncRun *last = model.lastRun())
        return QStringLiteral("Last sync: ") + Fmt::when(last->finished) + QStringLiteral(" · ") + last->headline();
    return model.config().autoSyncOnConnect
               ? QStringLiteral("Tarnwick Basic will also sync automatically whenever the drive is connected.")
               : QStringLiteral("Automatic sync is off; use Sync Now.");
}

bool subtitleIsWarning(const AppModel &model) {
    if (model.busy())
        return false;
    if (model.message())
        return true;
    const SyncRun *last = model.lastRun();
    return last && !isClean(*last);
}

bool reviewIsShown(const AppModel &model) {
    const SyncRun *last = model.lastRun();
    return !model.busy() && last &&
           (!last->conflicts.empty() || !last->errors.empty() || last->fatal || !last->skipped.empty());
}

double fraction(const SyncProgress &progress) {
    double done = 0;
    if (progress.bytesTotal >= 1)
        done = static_cast<double>(progress.bytesDone) / static_cast<double>(progress.bytesTotal);
    else if (progress.filesTotal > 0)
        done = static_cast<double>(progress.filesDone) / static_cast<double>(progress.filesTotal);
    return std::clamp(done, 0.0, 1.0);
}

} // namespace SyncCardText
