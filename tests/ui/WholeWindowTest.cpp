#include "SampleWindow.h"
#include "ui/AddFolderSheet.h"
#include "ui/FolderPanel.h"
#include "ui/MainView.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QLineEdit>
#include <QTest>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

QString nameOf(const QWidget *control) {
    const auto *button = qobject_cast<const QAbstractButton *>(control);
    return button && !button->text().isEmpty() ? button->text() : control->accessibleName();
}

/// The controls of a window as they are read: line by line, each from the left.
std::string controlsInReadingOrder(QWidget &window) {
    constexpr int lineHeight = 20;
    const auto at = [&](const QWidget *control) { return control->mapTo(&window, QPoint()); };
    std::vector<QWidget *> controls;
    for (QWidget *control : window.findChildren<QWidget *>()) {
        if (control->window() == &window && control->isVisible() && control->isEnabled() &&
            (control->focusPolicy() & Qt::TabFocus))
            controls.push_back(control);
    }
    std::ranges::sort(controls, {}, [&](const QWidget *control) { return at(control).y(); });
    QStringList names;
    for (auto line = controls.begin(), end = line; line != controls.end(); line = end) {
        const int below = at(*line).y() + lineHeight;
        end = std::find_if(line, controls.end(), [&](const QWidget *control) { return at(control).y() > below; });
        std::sort(line, end, [&](const QWidget *a, const QWidget *b) { return at(a).x() < at(b).x(); });
        std::transform(line, end, std::back_inserter(names), nameOf);
    }
    return names.join(u'\n').toStdString();
}

/// What Tab reaches in a window, until it comes to the first control again.
std::string controlsInTabOrder(QWidget &window) {
    QApplication::setActiveWindow(&window);
    window.setFocus();
    QStringList names;
    const QWidget *first = nullptr;
    while (names.size() < 50) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        const QWidget *now = QApplication::focusWidget();
        if (now == first)
            break;
        first = first ? first : now;
        names.append(nameOf(now));
    }
    return names.join(u'\n').toStdString();
}

class WholeWindowTest : public testing::Test {
  protected:
    ~WholeWindowTest() override { FolderPanel::answerWith(nullptr); }

    void settle() {
        bool isLater = false;
        QMetaObject::invokeMethod(
            qApp, [&] { isLater = true; }, Qt::QueuedConnection);
        waitFor([&] { return isLater; });
    }
    /// Leaves the sheet with a refusal.
    void refuse(AddFolderSheet &sheet) {
        button(sheet, QStringLiteral("Choose…"))->click();
        sheet.findChild<QLineEdit *>()->clear();
        QTest::keyClicks(sheet.findChild<QLineEdit *>(), QStringLiteral("a:b"));
        button(sheet, QStringLiteral("Add Folder"))->click();
        sheet.setFocus();
    }

    SampleWorld world;
    AppModel model;
};

TEST_F(WholeWindowTest, TabReachesEveryControlInReadingOrder) {
    MainView view(model);
    view.show();
    EXPECT_EQ(controlsInTabOrder(view), controlsInReadingOrder(view));
    world.addTwo(model);
    model.showSampleHistory(sampleHistory());
    model.setBanner(QStringLiteral("Added"));
    for (const MainTab tab : mainTabs) {
        model.setTab(tab);
        settle();
        const std::string expected = controlsInReadingOrder(view);
        EXPECT_EQ(controlsInTabOrder(view), expected) << title(tab).toStdString();
    }
    FolderPanel::answerWith([&](QWidget *, const FolderPanel::Request &) { return std::optional(world.oneDrive()); });
    AddFolderSheet sheet(model);
    sheet.show();
    for (const char *next : {"Choose…", "Choose Existing…", "Cancel"}) {
        EXPECT_EQ(controlsInTabOrder(sheet), controlsInReadingOrder(sheet)) << next;
        button(sheet, QString::fromUtf8(next))->click();
    }
}

TEST_F(WholeWindowTest, AnOpenWindowTakesOverTheOtherScheme) {
    FolderPanel::answerWith(
        [&](QWidget *, const FolderPanel::Request &) { return std::optional(world.home("Documents")); });
    MainView open(model);
    open.resize(980, 720);
    open.show();
    world.addTwo(model);
    model.showSampleHistory(sampleHistory());
    model.setBanner(QStringLiteral("Added"));
    AddFolderSheet openSheet(model, &open);
    openSheet.show();
    refuse(openSheet);
    settle();
    for (const Theme::Scheme scheme : {Theme::Scheme::Dark, Theme::Scheme::Light}) {
        Theme::apply(*qApp, scheme);
        EXPECT_EQ(Theme::schemeOf(open.palette()), scheme);
        for (const MainTab tab : mainTabs) {
            model.setTab(tab);
            settle();
            MainView fresh(model);
            fresh.resize(open.size());
            fresh.show();
            settle();
            EXPECT_TRUE(open.grab().toImage() == fresh.grab().toImage()) << title(tab).toStdString();
        }
        AddFolderSheet freshSheet(model, &open);
        freshSheet.show();
        refuse(freshSheet);
        settle();
        EXPECT_TRUE(openSheet.grab().toImage() == freshSheet.grab().toImage());
    }
}

} // namespace
