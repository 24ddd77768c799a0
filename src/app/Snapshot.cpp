#include "app/Snapshot.h"

#include "app/Console.h"
#include "app/ModelSession.h"
#include "app/TarnwickBasicMain.h"
#include "app/Windows.h"
#include "base/Text.h"
#include "json/Json.h"
#include "model/AppModel.h"
#include "platform/AtomicFile.h"
#include "ui/AddFolderSheet.h"
#include "ui/MainView.h"

#include <QApplication>

#include <cstdlib>
#include <limits>

#include <fcntl.h>

namespace SelfTest {

namespace {

constexpr int settlingTime = 800;

MainTab tabNamed(const QString &name) {
    for (const MainTab tab : mainTabs) {
        if (title(tab).toLower() == name.toLower())
            return tab;
    }
    return MainTab::folders;
}

void showSampleHistory(AppModel &model) {
    const char *file = std::getenv("TARNWICK_SAMPLE_HISTORY");
    if (!file)
        return;
    const std::optional<std::string> bytes =
        AtomicFile::read({AT_FDCWD, file}, std::numeric_limits<std::size_t>::max(), LinkAtEnd::IsFollowed);
    try {
        if (bytes)
            model.showSampleHistory(Json::fromBytes<std::vector<SyncRun>>(QByteArray::fromStdString(*bytes)));
    } catch (const JsonError &) {
        // Then there is nothing to show.
    }
}

bool draw(QWidget &view, const QSize &size, const QString &path) {
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.resize(size);
    view.show();
    ModelSession::settle(settlingTime);
    return view.grab(QRect(QPoint(), size)).save(path, "PNG");
}

} // namespace

int snapshot(const std::string &path, const std::string &tab) {
    AppModel::setReadOnly(true);
    ModelSession session(Windows::makeApplication());
    session.waitForDisks();
    AppModel &model = session.model();
    model.setTab(tabNamed(Text::fromBytes(tab)));
    showSampleHistory(model);
    const bool isSheet = tab == "addfolder";
    const std::unique_ptr<QWidget> view =
        isSheet ? std::unique_ptr<QWidget>(new AddFolderSheet(model)) : std::unique_ptr<QWidget>(new MainView(model));
    if (!draw(*view, isSheet ? QSize(640, 600) : QSize(980, 720), Text::fromBytes(path)))
        return TarnwickBasicMain::Trouble;
    Console::out(QStringLiteral("wrote ") + Text::fromBytes(path));
    return TarnwickBasicMain::Clean;
}

} // namespace SelfTest
