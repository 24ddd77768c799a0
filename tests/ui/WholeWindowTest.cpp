#include "SampleWindow.h"
#include "ui/AddFolderSheet.h"
#include "ui/FolderPanel.h"
#include "ui/MainView.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QTest>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

QString nameOf(const QWidget *control) {
    return control->property("text").toString() + control->accessibleName();
}

/// The controls of a window as they are read: line by line, each from the left.
std::string controlsInReadingOrder(QWidget &window) {
    const auto area = [&](const QWidget *control) { return QRect(control->mapTo(&window, QPoint()), control->size()); };
    std::vector<QWidget *> controls;
    for (QWidget *control : window.findChildren<QWidget *>()) {
        if (control->isVisible() && control->isEnabled() && (control->focusPolicy() & Qt::TabFocus))
            controls.push_back(control);
    }
    std::ranges::sort(controls, [&](const QWidget *a, const QWidget *b) {
        return area(a).bottom() < area(b).top() ||
               (area(a).top() <= area(b).bottom() && area(a).left() < area(b).left());
    });
    QStringList names;
    std::ranges::transform(controls, std::back_inserter(names), nameOf);
    return names.join(u'\n').toStdString();
}

/// What Tab reaches in a window, until it comes to the first control again.
std::string controlsInTabOrder(QWidget &window) {
    QApplication::setActiveWindow(&window);
    window.setFocus();
    QStringList names;
    const QWidget *first = nullptr;
    for (const QWidget *now = nullptr; names.size() < 50; names.append(nameOf(now))) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        now = QApplication::focusWidget();
        if (now == first)
            break;
        first = first ? first : now;
    }
    return names.join(u'\n').toStdString();
}

/// A window with something to show in every tab.
class WholeWindowTest : public testing::Test {
  protected:
    WholeWindowTest() {
        FolderPanel::answerWith([](QWidget *, const FolderPanel::Request &) { return fs::path("/tmp/a:b"); });
        view.resize(980, 720);
        view.show();
    }
    ~WholeWindowTest() override { FolderPanel::answerWith(nullptr); }

    void fill() {
        world.addTwo(model);
        model.showSampleHistory(sampleHistory());
        model.setBanner(QStringLiteral("Added"));
        QCoreApplication::processEvents();
    }
    void press(QWidget &window, const char *text) { button(window, QString::fromUtf8(text))->click(); }

    SampleWorld world;
    AppModel model;
    MainView view{model};
};

TEST_F(WholeWindowTest, TabReachesEveryControlInReadingOrder) {
    EXPECT_EQ(controlsInTabOrder(view), controlsInReadingOrder(view));
    fill();
    for (const MainTab tab : mainTabs) {
        model.setTab(tab);
        QCoreApplication::processEvents();
        const std::string expected = controlsInReadingOrder(view); // first, for Tab makes the settings scroll
        EXPECT_EQ(controlsInTabOrder(view), expected) << title(tab).toStdString();
    }
    AddFolderSheet sheet(model);
    sheet.show();
    for (const char *next : {"Choose…", "Choose Existing…", "Cancel"}) {
        EXPECT_EQ(controlsInTabOrder(sheet), controlsInReadingOrder(sheet)) << next;
        press(sheet, next);
    }
}

TEST_F(WholeWindowTest, AnOpenWindowTakesOverTheOtherScheme) {
    fill();
    AddFolderSheet sheet(model, &view);
    for (const Theme::Scheme scheme : {Theme::Scheme::Light, Theme::Scheme::Dark, Theme::Scheme::Light}) {
        Theme::apply(*qApp, scheme);
        EXPECT_EQ(Theme::schemeOf(view.palette()), scheme);
        for (const MainTab tab : mainTabs) {
            model.setTab(tab);
            MainView fresh(model);
            fresh.resize(view.size());
            fresh.show();
            QCoreApplication::processEvents();
            EXPECT_TRUE(view.grab().toImage() == fresh.grab().toImage()) << title(tab).toStdString();
        }
        AddFolderSheet freshSheet(model, &view);
        for (AddFolderSheet *each : {&sheet, &freshSheet}) {
            each->show();
            press(*each, button(*each, QStringLiteral("Choose…")) ? "Choose…" : "Change…");
            press(*each, "Add Folder"); // refused for its name
            each->setFocus();
        }
        QCoreApplication::processEvents();
        EXPECT_TRUE(sheet.grab().toImage() == freshSheet.grab().toImage());
    }
}

} // namespace
