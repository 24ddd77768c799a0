#include "app/SyncCommand.h"

#include "app/Arguments.h"
#include "app/BusService.h"
#include "app/Console.h"
#include "app/FolderCommands.h"
#include "app/ModelSession.h"
#include "app/ResultText.h"
#include "app/StopSignals.h"
#include "app/TarnwickBasicMain.h"
#include "model/AppModel.h"

#include <array>

namespace SyncCommand {

namespace {

using namespace TarnwickBasicMain;

CancelToken stopRequest;

/// Runs on the signals' thread; the model is the main thread's.
void cancelModel() {
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, [] { AppModel::shared().cancelSync(); });
}

/// The pairs that were named; all when nothing was. None when the list doesn't have one of them, which is told.
std::optional<AppModel::PairIDs> chosen(const AppModel &model, const std::vector<std::string> &names) {
    if (names.empty())
        return AppModel::PairIDs();
    std::vector<QUuid> ids;
    for (const std::string &name : names) {
        const std::vector<QUuid> meant = FolderCommands::pairsMeant(model, name);
        if (meant.empty()) {
            FolderCommands::reportUnknown(name);
            return std::nullopt;
        }
        ids.insert(ids.end(), meant.begin(), meant.end());
    }
    return AppModel::PairIDs(std::move(ids));
}

int syncNow(ModelSession &session, const AppModel::PairIDs &ids, ResultText::Form form) {
    if (stopRequest.isCancelled())
        return Stopped; // from here on the model is told
    AppModel &model = session.model();
    Console::ProgressLine line;
    std::optional<SyncRun> finished;
    model.onRunFinished = [&](const SyncRun &run) { finished = run; };
    const auto shown =
        QObject::connect(&model, &AppModel::progressChanged, &model, [&] { line.show(model.progress()); });
    model.sync(ids, SyncTrigger::manual);
    if (!model.busy() && !finished) {
        Console::error(model.message().value_or(QString()));
        return WrongUsage;
    }
    while (!finished)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QObject::disconnect(shown);
    model.onRunFinished = nullptr;
    line.clear();
    const int status = ResultText::report(*finished, form);
    // A drive that was ejected stops a sync, too, but nobody asked this process to stop.
    return status == Stopped && !stopRequest.isCancelled() ? Trouble : status;
}

} // namespace

int run(const std::vector<std::string> &arguments) {
    static constexpr std::array known = {"--sync", "--json"};
    const std::optional<Arguments> given = Arguments::parse(arguments, known);
    if (!given) {
        Console::error(QStringLiteral("usage: tarnwick-basic --sync [NAME-OR-ID ...] [--json]"));
        return WrongUsage;
    }
    StopSignals::cancelOnSignal(stopRequest, &cancelModel);
    ModelSession session;
    if (const std::optional<QString> refusal = session.claimSettings()) {
        const bool isPlain = given->words.empty() && given->options == std::vector<std::string>{"--sync"};
        if (isPlain && BusService::tell(session.settingsLock(), QStringLiteral("sync-now"))) {
            Console::out(QStringLiteral("Tarnwick Basic is running and was asked to sync."));
            return Clean;
        }
        Console::error(*refusal);
        return WrongUsage;
    }
    session.followDrives(); // first, so that a drive that comes meanwhile is not missed
    session.model().start(false);
    int status = WrongUsage;
    if (const std::optional<AppModel::PairIDs> ids = chosen(session.model(), given->words))
        status = syncNow(session, *ids, given->has("--json") ? ResultText::Form::Json : ResultText::Form::Lines);
    session.end(status);
    return status;
}

} // namespace SyncCommand
