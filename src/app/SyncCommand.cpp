#include "app/SyncCommand.h"

#include "app/Arguments.h"
#include "app/Console.h"
#include "app/FolderCommands.h"
#include "app/HolderBus.h"
#include "app/ModelSession.h"
#include "app/ResultText.h"
#include "app/StopSignals.h"
#include "app/SyncService.h"
#include "app/TarnwickBasicMain.h"
#include "base/Text.h"
#include "json/Json.h"
#include "model/AppModel.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>

#include <array>
#include <limits>

namespace SyncCommand {

namespace {

using namespace TarnwickBasicMain;

CancelToken stopRequest;

/// Whether a signal is meant for a sync of this process; only asked and set on the main thread.
bool syncsItself = false;

/// Runs on the signals' thread; the model is the main thread's.
void cancelModel() {
    const auto cancel = [] {
        if (!syncsItself)
            return;
        Console::tellStopping();
        AppModel::shared().cancelSync();
    };
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, cancel);
}

int refuse(const QString &sentence) {
    Console::error(sentence);
    return WrongUsage;
}

/// Prints the run and gives the exit status.
int printed(const SyncRun &run, ResultText::Form form) {
    const int status = ResultText::report(run, form);
    // A drive that was ejected stops a sync, too, but nobody asked this process to stop.
    return status == Stopped && !stopRequest.isCancelled() ? Trouble : status;
}

int syncNow(ModelSession &session, const AppModel::PairIDs &ids, ResultText::Form form) {
    if (stopRequest.isCancelled())
        return Stopped; // from here on the model is told
    syncsItself = true;
    AppModel &model = session.model();
    Console::ProgressLine line;
    std::optional<SyncRun> finished;
    std::optional<QString> refusal;
    QObject here; // what is told ends with this function
    QObject::connect(&model, &AppModel::runFinished, &here, [&](const SyncRun &run) { finished = run; });
    QObject::connect(&model, &AppModel::progressChanged, &here, [&] { line.show(model.progress()); });
    model.sync(ids, SyncTrigger::manual, [&](const std::optional<QString> &reason) { refusal = reason; });
    while (!finished && !refusal)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    if (refusal)
        return stopRequest.isCancelled() ? static_cast<int>(Stopped) : refuse(*refusal);
    line.clear();
    session.tellNotice(); // of a drive that came meanwhile
    return printed(*finished, form);
}

/// What the application answered, printed as the result of a sync of this process's own.
int reportAnswer(const QDBusMessage &answer, ResultText::Form form) {
    if (answer.errorName() == SyncService::refused)
        return refuse(answer.errorMessage());
    const QDBusError::ErrorType error = QDBusError(answer).type();
    // Not asked in time, or of another version.
    if (error == QDBusError::UnknownObject || error == QDBusError::UnknownInterface ||
        error == QDBusError::UnknownMethod)
        return refuse(ModelSession::alreadyRunning());
    try {
        return printed(Json::fromBytes<SyncRun>(answer.arguments().value(0).toByteArray()), form);
    } catch (const JsonError &) {
        Console::error(QStringLiteral("Tarnwick Basic ended before the sync had finished."));
        return Trouble;
    }
}

/// The application runs on these settings: it does the sync, and this process waits for what becomes of it.
int handOver(const SettingsLock &lock, const std::vector<std::string> &namesOrIds, ResultText::Form form) {
    QStringList names;
    for (const std::string &name : namesOrIds)
        names.append(Text::fromBytes(name));
    const HolderBus bus(lock);
    if (!bus.isReached())
        return refuse(ModelSession::alreadyRunning());
    constexpr int forEver = std::numeric_limits<int>::max();
    const QDBusPendingCallWatcher answer(bus.call(SyncService::interface, QStringLiteral("Sync"), {names}, forEver));
    while (!answer.isFinished() && !stopRequest.isCancelled())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    if (answer.isFinished())
        return reportAnswer(answer.reply(), form);
    Console::error(QStringLiteral("No longer waiting; Tarnwick Basic goes on with the sync."));
    return Stopped;
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
    const ResultText::Form form = given->has("--json") ? ResultText::Form::Json : ResultText::Form::Lines;
    if (session.claimSettings())
        return handOver(session.settingsLock(), given->words, form);
    session.followDrives(); // first, so that a drive that comes meanwhile is not missed
    session.startModel([] { return stopRequest.isCancelled(); });
    session.tellNotice();
    const FolderCommands::Chosen chosen = FolderCommands::chosen(session.model(), given->words);
    const int status = chosen.refusal ? refuse(*chosen.refusal) : syncNow(session, chosen.ids, form);
    session.end(status);
    return status;
}

} // namespace SyncCommand
