#include "app/AppTest.h"

#include "app/Console.h"
#include "app/ModelSession.h"
#include "app/TarnwickBasicMain.h"
#include "model/AppModel.h"
#include "store/Store.h"

#include <QElapsedTimer>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace SelfTest {

namespace {

constexpr int slice = 500;

QString stamp(const QElapsedTimer &timer) {
    const double seconds = static_cast<double>(timer.elapsed()) / 1000;
    return QStringLiteral("[t=") + QString::number(seconds, 'f', 0) + QStringLiteral("s] ");
}

void printRun(const QElapsedTimer &timer, const SyncRun &run) {
    const QStringList names(run.pairNames.begin(), run.pairNames.end());
    Console::out(stamp(timer) + QStringLiteral("SYNC [") + rawText(run.trigger) + QStringLiteral("] ") +
                 names.join(QStringLiteral(", ")) + QStringLiteral(": ") + run.headline());
}

void printPairs(const std::vector<FolderPair> &pairs) {
    QStringList texts;
    for (const FolderPair &pair : pairs)
        texts.append(pair.sourceRelPath + u'→' + pair.backupRelPath);
    Console::out(QStringLiteral("PAIRS ") + texts.join(QStringLiteral(" | ")));
}

} // namespace

int app(double seconds) {
    if (!Store::isTestMode()) {
        Console::out(QStringLiteral("set TARNWICK_SUPPORT_DIR or TARNWICK_TEST_ROOT"));
        return TarnwickBasicMain::WrongUsage;
    }
    ModelSession session;
    if (const std::optional<QString> refusal = session.claimSettings()) {
        Console::error(*refusal);
        return TarnwickBasicMain::WrongUsage;
    }
    AppModel &model = session.model();
    QElapsedTimer timer;
    timer.start();
    const auto printed =
        QObject::connect(&model, &AppModel::runFinished, [&](const SyncRun &run) { printRun(timer, run); });
    session.followDrives(); // first, so that a drive that comes meanwhile is not missed
    session.startModel();
    std::optional<QString> lastBanner;
    for (double left = seconds; left > 0; left = seconds - static_cast<double>(timer.elapsed()) / 1000) {
        ModelSession::settle(std::min(slice, static_cast<int>(std::ceil(std::min(left, 1.0) * 1000))));
        if (model.banner() && model.banner() != lastBanner) {
            lastBanner = model.banner();
            Console::out(stamp(timer) + QStringLiteral("BANNER ") + *lastBanner);
        }
    }
    QObject::disconnect(printed);
    printPairs(model.config().pairs);
    session.end(TarnwickBasicMain::Clean);
    return TarnwickBasicMain::Clean;
}

} // namespace SelfTest
