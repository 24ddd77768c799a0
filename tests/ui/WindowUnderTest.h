#pragma once

#include "screens/SampleWindow.h"
#include "ui/FolderPanel.h"
#include "ui/MainView.h"

#include <QAction>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

using Lines = std::vector<std::string>;

/// Drives the real window as a user does. It shows the sample world, and nothing is in the list at first.
class WindowUnderTest : public testing::Test {
  protected:
    WindowUnderTest() {
        view.resize(980, 720);
        view.show();
        world.look(model);
    }
    ~WindowUnderTest() override { FolderPanel::answerWith(nullptr); }

    void click(QWidget &where, const char *text) {
        QAbstractButton *found = button(where, QString::fromUtf8(text));
        ASSERT_TRUE(found) << text;
        ASSERT_TRUE(found->isEnabled()) << text;
        found->click();
    }
    void click(const char *text) { click(view, text); }
    bool has(const char *control) { return button(view, QString::fromUtf8(control)); }
    static bool shows(QWidget &where, const QString &text) {
        return std::ranges::any_of(where.findChildren<QLabel *>(),
                                   [&](const QLabel *label) { return label->isVisible() && label->text() == text; });
    }
    static void expectToShow(QWidget &where, const QString &text) {
        EXPECT_TRUE(waitFor([&] { return shows(where, text); })) << text.toStdString();
    }
    void expectToShow(const QString &text) { expectToShow(view, text); }
    void expectToShow(const char *text) { expectToShow(view, QString::fromUtf8(text)); }
    /// The part of this kind, once it is there.
    template <typename Part>
    Part *part() {
        waitFor([&] { return view.findChild<Part *>() != nullptr; });
        return view.findChild<Part *>();
    }
    QListView *listNamed(const char *start) {
        for (QListView *list : view.findChildren<QListView *>()) {
            if (list->accessibleName().startsWith(QLatin1String(start)))
                return list;
        }
        return nullptr;
    }
    void show(MainTab tab) {
        model.setTab(tab);
        QCoreApplication::processEvents();
    }
    /// Something to show in every tab.
    void fill() {
        world.addTwo(model);
        model.showSampleHistory(sampleHistory());
        model.setBanner(QStringLiteral("Added"));
        QCoreApplication::processEvents();
    }
    /// The next folder panels are answered with these, one after another.
    void answer(std::vector<fs::path> folders) {
        FolderPanel::answerWith(
            [this, left = std::move(folders)](QWidget *, const FolderPanel::Request &asked) mutable {
                panels.push_back((asked.title + u'|' + asked.message + u'|' + asked.confirm).toStdString());
                const fs::path next = left.at(0);
                left.erase(left.begin());
                return std::optional(next);
            });
    }
    static Lines texts(const QMenu &menu) {
        Lines result;
        for (const QAction *action : menu.actions())
            result.push_back(action->text().toStdString() + (action->isEnabled() ? "" : " (off)"));
        return result;
    }

    SampleWorld world;
    AppModel model;
    MainView view{model};
    Lines panels;
};
