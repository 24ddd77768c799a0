#include "ui/AddFolderSheet.h"
#include "ui/Theme.h"
#include "ui/WindowUnderTest.h"

#include <QApplication>
#include <QFileDialog>
#include <QTimer>

#include <algorithm>

namespace {

std::string namesOf(const std::vector<const QWidget *> &controls) {
    QStringList names;
    for (const QWidget *control : controls)
        names.append(control->property("text").toString() + control->accessibleName());
    return names.join(u'\n').toStdString();
}

std::vector<const QWidget *> controlsOf(const QWidget &window) {
    std::vector<const QWidget *> controls;
    for (const QWidget *control : window.findChildren<QWidget *>()) {
        if (control->isVisible() && (control->focusPolicy() & Qt::TabFocus))
            controls.push_back(control);
    }
    return controls;
}

/// The controls of a window as they are read: line by line, each from the left.
std::string controlsInReadingOrder(const QWidget &window) {
    const auto area = [&](const QWidget *control) { return QRect(control->mapTo(&window, QPoint()), control->size()); };
    std::vector<const QWidget *> controls = controlsOf(window);
    std::erase_if(controls, [](const QWidget *control) { return !control->isEnabled(); });
    std::ranges::sort(controls, [&](const QWidget *a, const QWidget *b) {
        return area(a).bottom() < area(b).top() ||
               (area(a).top() <= area(b).bottom() && area(a).left() < area(b).left());
    });
    return namesOf(controls);
}

/// What Tab reaches in a window, until it comes to the first control again.
std::string controlsInTabOrder(QWidget &window) {
    QApplication::setActiveWindow(&window);
    window.setFocus();
    std::vector<const QWidget *> visited;
    do {
        visited.push_back(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    } while (visited.size() < 50 && (visited.size() == 1 || QApplication::focusWidget() != visited[1]));
    return namesOf({visited.begin() + 1, visited.end()});
}

bool isInside(const QWidget &part, const QWidget &whole) {
    return whole.rect().contains(QRect(part.mapTo(&whole, QPoint()), part.size()));
}

/// The visible controls that can't be seen whole, and can't be scrolled to either.
std::string cutControls(const QWidget &window) {
    std::vector<const QWidget *> cut = controlsOf(window);
    std::erase_if(cut, [&](const QWidget *control) {
        const QWidget *scrolled = control->parentWidget();
        while (scrolled != &window && scrolled->objectName() != QStringLiteral("scrolled"))
            scrolled = scrolled->parentWidget();
        // What scrolls needs some room to be seen in.
        return isInside(*control, *scrolled) && (scrolled == &window || (isInside(*scrolled->parentWidget(), window) &&
                                                                         scrolled->parentWidget()->height() >= 60));
    });
    return namesOf(cut);
}

using WindowLayoutTest = WindowUnderTest;

TEST_F(WindowLayoutTest, TabReachesEveryControlInReadingOrder) {
    EXPECT_EQ(controlsInTabOrder(view), controlsInReadingOrder(view));
    fill();
    for (const MainTab tab : mainTabs) {
        show(tab);
        const std::string expected = controlsInReadingOrder(view); // first, for Tab makes the settings scroll
        EXPECT_EQ(controlsInTabOrder(view), expected) << title(tab).toStdString();
    }
    answer({world.drive("Backup"), world.oneDrive("Backups")});
    AddFolderSheet sheet(model);
    sheet.show();
    for (const char *next : {"Choose…", "Choose Existing…", "Cancel"}) {
        EXPECT_EQ(controlsInTabOrder(sheet), controlsInReadingOrder(sheet)) << next;
        click(sheet, next);
    }
}

TEST_F(WindowLayoutTest, EverythingIsReachableInASmallWindow) {
    view.setMinimumSize(1, 1); // the window that it is a part of decides
    view.resize(900, 430);     // what a panel, a title bar and the menu bar leave of 960 x 540
    ASSERT_EQ(view.size(), QSize(900, 430));
    for (const bool isFilled : {false, true}) {
        if (isFilled)
            fill();
        for (const MainTab tab : mainTabs) {
            show(tab);
            EXPECT_EQ(cutControls(view), "") << title(tab).toStdString();
            for (const QListView *list : view.findChildren<QListView *>())
                EXPECT_GE(list->isVisible() ? list->height() : 100, 100) << list->accessibleName().toStdString();
        }
    }
    AddFolderSheet sheet(model, &view);
    sheet.show();
    answer({world.home("a:b")});
    click(sheet, "Choose…");
    click(sheet, "Add Folder"); // refused, so that all of its parts are shown
    EXPECT_LE(sheet.height(), 430);
}

TEST_F(WindowLayoutTest, AnOpenWindowTakesOverTheOtherScheme) {
    const auto expectSameLook = [](QWidget &old, QWidget &fresh, const QString &where) {
        QCoreApplication::processEvents();
        EXPECT_TRUE(old.grab().toImage() == fresh.grab().toImage()) << where.toStdString();
    };
    fill();
    answer(std::vector(6, world.home("a:b")));
    AddFolderSheet sheet(model, &view);
    for (const Theme::Scheme scheme : {Theme::Scheme::Light, Theme::Scheme::Dark, Theme::Scheme::Light}) {
        Theme::apply(*qApp, scheme);
        EXPECT_EQ(Theme::schemeOf(view.palette()), scheme);
        for (const MainTab tab : mainTabs) {
            model.setTab(tab);
            MainView fresh(model);
            fresh.resize(view.size());
            fresh.show();
            expectSameLook(view, fresh, title(tab));
        }
        AddFolderSheet freshSheet(model, &view);
        for (AddFolderSheet *each : {&sheet, &freshSheet}) {
            each->show();
            click(*each, button(*each, QStringLiteral("Choose…")) ? "Choose…" : "Change…");
            click(*each, "Add Folder"); // refused for its name
            each->setFocus();
        }
        EXPECT_TRUE(waitFor([&] { return !model.isLooking(); })); // whether the folder is there
        expectSameLook(sheet, freshSheet, sheet.windowTitle());
    }
}

TEST_F(WindowLayoutTest, TheFolderPanelOffersHomeOneDriveAndTheDrives) {
    std::vector<fs::path> offered;
    QTimer::singleShot(0, &view, [&] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        for (const QUrl &place : dialog->sidebarUrls())
            offered.emplace_back(place.toLocalFile().toStdString());
        dialog->reject();
    });
    FolderPanel::choose(&view, {{}, {}, {}, world.home(""), FolderPanel::placesOf(model)});
    EXPECT_EQ(offered,
              (std::vector{world.top() / "Home", world.oneDrive(), world.drive("Backup"), world.drive("Travel")}));
    const QUrl drive = QUrl::fromLocalFile(QString::fromStdString(world.drive("Travel")));
    EXPECT_FALSE(QFileDialog().sidebarUrls().contains(drive)) << "the user's other panels stay as they are";
}

} // namespace
