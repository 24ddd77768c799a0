#include "app/Windows.h"

#include "app/Locale.h"
#include "app/Version.h"
#include "ui/AppIcon.h"
#include "ui/Theme.h"

#include <QApplication>

#include <cstdlib>

namespace {

int argumentCount = 1;
char programName[] = "tarnwick-basic";
char *argumentList[] = {programName, nullptr};

bool isSet(const char *variable) {
    const char *value = std::getenv(variable);
    return value && *value;
}

} // namespace

bool Windows::hasDisplay() {
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

std::unique_ptr<QApplication> Windows::makeApplication() {
    Locale::useUtf8();
    if (!hasDisplay())
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    auto application = std::make_unique<QApplication>(argumentCount, argumentList);
    QApplication::setApplicationName(QStringLiteral("Tarnwick Basic")); // desktops show it with the status item
    QApplication::setDesktopFileName(QStringLiteral("org.tarnwick.Basic"));
    QApplication::setApplicationVersion(QStringLiteral(TARNWICK_VERSION));
    application->setProperty("buildNumber", QStringLiteral(TARNWICK_BUILD));
    QApplication::setWindowIcon(AppIcon::icon());
    Theme::apply(*application, Theme::schemeOf(QApplication::palette()));
    return application;
}
