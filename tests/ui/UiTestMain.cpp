#include "ui/Theme.h"

#include <QApplication>

#include <cstdlib>
#include <gtest/gtest.h>

int main(int argc, char **argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    Theme::apply(application, Theme::Scheme::Light);
    return RUN_ALL_TESTS();
}
