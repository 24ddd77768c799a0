// Draws the pictures of docs/screenshots: render_screens FOLDER. Each state of the window, light and dark.

#include "screens/SampleWindow.h"
#include "ui/AddFolderSheet.h"
#include "ui/ClientsPage.h"
#include "ui/FolderPanel.h"
#include "ui/MainView.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>

#include <cstdio>
#include <cstdlib>

namespace {

/// Draws one series of states in one scheme.
class Series {
  public:
    Series(fs::path folder, std::string suffix) : to(std::move(folder)), end(std::move(suffix)) {}

    void drawWindow();
    void drawSheet();

  private:
    void save(QWidget &widget, const char *name) const {
        QElapsedTimer timer;
        timer.start();
        waitFor([&] { return timer.elapsed() > 150; });
        widget.grab().save(QString::fromStdString((to / (name + end)).native()), "PNG", 0);
    }

    fs::path to;
    std::string end;
};

SyncProgress someProgress() {
    SyncProgress progress;
    progress.stage = SyncProgress::Stage::copying;
    progress.pairName = QStringLiteral("Photos");
    progress.filesDone = 411;
    progress.filesTotal = 1204;
    progress.bytesDone = 1'870'000'000;
    progress.bytesTotal = 5'310'000'000;
    progress.currentFile = QStringLiteral("2024/Summer holiday/Lake/IMG_0412.jpg");
    return progress;
}

void Series::drawWindow() {
    SampleWorld world;
    AppModel model;
    MainView view(model);
    view.resize(980, 720);
    view.show();
    save(view, "folders-empty");
    world.addTwo(model);
    save(view, "folders-ready");
    world.add(model, world.drive("Travel/Raw"), world.oneDrive("A long name of a folder that has no room in its cell"));
    world.add(model, world.drive("Backup/Music"), world.oneDrive("Music"));
    model.setEnabled(model.config().pairs.at(2).id, false);
    model.setEnabled(model.config().pairs.at(3).id, false);
    model.setBanner(QStringLiteral("Added “Music”. Press Sync Now to back it up."));
    fs::rename(world.drive("Travel"), world.top() / "Travel");
    world.look(model);
    save(view, "folders-unplugged");
    model.setBanner(std::nullopt);
    const std::vector<SyncRun> history = sampleHistory();
    model.showSampleHistory(history);
    model.setTab(MainTab::activity);
    save(view, "activity-problems");
    model.setSelectedRunID(history.at(1).id);
    save(view, "activity-clean");
    model.setSelectedRunID(history.at(2).id);
    save(view, "activity-cancelled");
    model.setTab(MainTab::settings);
    save(view, "settings");
    model.setTab(MainTab::folders);
    fs::rename(world.oneDrive(), world.top() / "gone");
    world.look(model);
    save(view, "folders-no-onedrive");
    model.setTab(MainTab::settings);
    save(view, "settings-no-onedrive");
    ClientsPage page;
    page.show();
    save(page, "clients");
    model.setTab(MainTab::folders);
    fs::rename(world.top() / "gone", world.oneDrive());
    world.look(model);
    model.showSampleProgress(someProgress());
    save(view, "folders-syncing");
    view.resize(960, 470); // a screen of 960 x 540 without its panel, the title bar and the menu bar
    save(view, "folders-small");
    model.setTab(MainTab::activity);
    save(view, "activity-small");
}

void Series::drawSheet() {
    SampleWorld world;
    AppModel model;
    AddFolderSheet sheet(model);
    sheet.show();
    save(sheet, "addfolder-empty");
    FolderPanel::answerWith([&](QWidget *, const FolderPanel::Request &) {
        return std::optional(world.home("Documents/Notes")); // below the home folder it is the same path every time
    });
    button(sheet, QStringLiteral("Choose…"))->click();
    save(sheet, "addfolder-filled");
    auto *name = sheet.findChild<QLineEdit *>();
    name->setText(QStringLiteral("Notes: 2026"));
    Q_EMIT name->textEdited(name->text());
    button(sheet, QStringLiteral("Add Folder"))->click();
    save(sheet, "addfolder-refused");
    FolderPanel::answerWith(nullptr);
}

} // namespace

int main(int argc, char **argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: render_screens FOLDER\n", stderr);
        return 2;
    }
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0.0"));
    application.setProperty("buildNumber", QStringLiteral("1"));
    fs::create_directories(argv[1]);
    for (const auto &[scheme, suffix] :
         {std::pair(Theme::Scheme::Light, "-light.png"), std::pair(Theme::Scheme::Dark, "-dark.png")}) {
        Theme::apply(application, scheme);
        Series series(argv[1], suffix);
        series.drawWindow();
        series.drawSheet();
    }
    return 0;
}
