// Times the Activity tab with a run of 2,000 changes, 500 errors and 1,000 skipped items: how long the main thread
// takes to open it, to switch to another such run, and to draw a page of scrolling. Prints medians.

#include "ui/RunDetailView.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QListView>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

namespace {

SyncRun largeRun() {
    SyncRun run;
    for (int i = 0; i < 2000; ++i)
        run.changes.push_back({.pairName = QStringLiteral("Photos"),
                               .relPath = QString::asprintf("2024/Summer holiday/IMG_%05d.jpg", i),
                               .size = 4'000'000 + i});
    for (int i = 0; i < 500; ++i)
        run.errors.push_back(QString::asprintf("Photos/2024/A folder with a rather long name/and another one in it/"
                                               "IMG_%05d.jpg: Input/output error",
                                               i));
    for (int i = 0; i < 1000; ++i)
        run.skipped.push_back({.pairName = QStringLiteral("Photos"),
                               .relPath = QString::asprintf("2024/IMG:%05d.jpg", i),
                               .detail = QString::asprintf("IMG_%05d.jpg", i)});
    return run;
}

double median(int turns, const std::function<void(int turn)> &work) {
    std::vector<double> milliseconds;
    for (int turn = 0; turn < turns; ++turn) {
        const auto begun = std::chrono::steady_clock::now();
        work(turn);
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begun).count());
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    return milliseconds[milliseconds.size() / 2];
}

} // namespace

int main(int argc, char **argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    QApplication application(argc, argv);
    Theme::apply(application, Theme::Scheme::Light);
    const std::vector<SyncRun> runs = {largeRun(), largeRun()};
    RunDetailView view;
    view.resize(700, 500);
    view.show();
    const double open = median(1, [&](int) {
        view.render(runs[0]);
        view.grab();
    });
    const double change = median(9, [&](int turn) {
        view.render(runs[static_cast<std::size_t>(turn + 1) % 2]);
        view.grab();
    });
    auto *list = view.findChild<QListView *>();
    const double layout = median(3, [&](int) {
        list->doItemsLayout();
        for (int before = -1; before != list->verticalScrollBar()->maximum();) { // the rest comes in batches
            before = list->verticalScrollBar()->maximum();
            for (int i = 0; i < 5; ++i)
                QCoreApplication::processEvents();
        }
    });
    const double page = median(40, [&](int turn) {
        list->verticalScrollBar()->setValue((turn + 1) * list->verticalScrollBar()->pageStep());
        view.grab();
    });
    std::printf("opened in %.1f ms, switched in %.1f ms, laid out whole in %.1f ms, a page of scrolling in %.1f ms\n",
                open, change, layout, page);
    return 0;
}
