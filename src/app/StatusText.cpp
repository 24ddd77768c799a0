#include "app/StatusText.h"

#include "base/Fmt.h"
#include "model/AppModel.h"
#include "ui/SyncCardText.h"

namespace StatusText {

namespace {

QString percentage(const AppModel &model) {
    return QString::number(static_cast<int>(SyncCardText::fraction(model.progress()) * 100)) + u'%';
}

} // namespace

bool badgeIsShown(const AppModel &model) {
    return !model.busy() && model.lastRun() && !SyncCardText::isClean(*model.lastRun());
}

QString title(const AppModel &model) {
    if (!model.busy())
        return {};
    return SyncCardText::isCopying(model) ? u' ' + percentage(model) : QStringLiteral(" …");
}

QString tooltip(const AppModel &model) {
    if (model.busy())
        return QStringLiteral("Tarnwick Basic is syncing");
    const SyncRun *run = model.lastRun();
    if (!run)
        return QStringLiteral("Tarnwick Basic");
    return QStringLiteral("Tarnwick Basic — last sync ") + Fmt::when(run->finished) + QStringLiteral(": ") +
           run->headline();
}

QString statusLine(const AppModel &model) {
    if (model.awaitedPlace())
        return SyncCardText::title(model);
    if (model.busy())
        return SyncCardText::isCopying(model) ? QStringLiteral("Syncing “") + model.progress().pairName +
                                                    QStringLiteral("” — ") + percentage(model)
                                              : QStringLiteral("Checking for changes…");
    if (const std::optional<QString> blocker = model.syncBlocker())
        return *blocker;
    const auto ready = static_cast<std::int64_t>(model.readyPairs().size());
    return QStringLiteral("Ready: ") + Fmt::counted(ready, QStringLiteral("folder")) + QStringLiteral(" selected");
}

std::optional<QString> lastSync(const AppModel &model) {
    const SyncRun *run = model.lastRun();
    if (!run)
        return std::nullopt;
    return QStringLiteral("Last sync: ") + Fmt::when(run->finished) + QStringLiteral(" — ") + run->headline();
}

QString notificationTitle(const SyncRun &run) {
    if (run.fatal || !run.errors.empty())
        return QStringLiteral("Tarnwick Basic finished with problems");
    return run.cancelled ? QStringLiteral("Tarnwick Basic sync stopped")
                         : QStringLiteral("Tarnwick Basic sync complete");
}

QString canBeEjected(const QString &drive) {
    return QStringLiteral("“") + drive + QStringLiteral("” can be ejected now");
}

} // namespace StatusText
