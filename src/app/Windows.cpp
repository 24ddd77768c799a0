#include "app/Windows.h"

#include "app/Locale.h"
#include "app/Version.h"
#include "desktop/ColorScheme.h"
#include "ui/AppIcon.h"
#include "ui/Theme.h"

#include <QApplication>

#include <cstdlib>
#include <xcb/xcb.h>

namespace {

// The toolkit keeps what it is given, and takes out what it knows.
int argumentCount = 1;
char programName[] = "tarnwick-basic";
std::vector<std::string> argumentTexts;
std::vector<char *> argumentList = {programName, nullptr};

/// What the desktop's palette asks for, which the program's own replaces.
Theme::Scheme platformScheme = Theme::Scheme::Light;

/// An X11 server may start afresh or end when its last client leaves: what was opened to see whether it answers stays
/// open until Qt has a connection of its own.
std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> probe(nullptr, &xcb_disconnect);

bool displayAnswers() {
    probe.reset(xcb_connect(nullptr, nullptr));
    return xcb_connection_has_error(probe.get()) == 0;
}

bool isSet(const char *variable) {
    const char *value = std::getenv(variable);
    return value && *value;
}

} // namespace

void Windows::useToolkitOptions(const std::vector<std::string> &options) {
    argumentTexts = options;
    argumentList = {programName};
    for (std::size_t i = 0; i < argumentTexts.size(); ++i) {
        argumentList.push_back(argumentTexts[i].data());
        const bool hasValue = i + 1 < argumentTexts.size();
        // What is asked before the toolkit is there looks at the environment.
        if (hasValue && argumentTexts[i].ends_with("-platform"))
            ::setenv("QT_QPA_PLATFORM", argumentTexts[i + 1].c_str(), 1);
        if (hasValue && argumentTexts[i].ends_with("-display"))
            ::setenv("DISPLAY", argumentTexts[i + 1].c_str(), 1);
    }
    argumentCount = static_cast<int>(argumentList.size());
    argumentList.push_back(nullptr);
}

bool Windows::hasDisplay() {
    const bool isX11Chosen = qEnvironmentVariable("QT_QPA_PLATFORM") == QStringLiteral("xcb");
    if (!isX11Chosen && (isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM")))
        return true;
    // Qt would end with a core dump if nobody answered there.
    return isSet("DISPLAY") && displayAnswers();
}

std::unique_ptr<QApplication> Windows::makeApplication() {
    Locale::useUtf8();
    if (!hasDisplay())
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    auto application = std::make_unique<QApplication>(argumentCount, argumentList.data());
    probe.reset();
    QApplication::setApplicationName(QStringLiteral("Tarnwick Basic")); // desktops show it with the status item
    QApplication::setDesktopFileName(QStringLiteral("org.tarnwick.Basic"));
    QApplication::setApplicationVersion(QStringLiteral(TARNWICK_VERSION));
    application->setProperty("buildNumber", QStringLiteral(TARNWICK_BUILD));
    QApplication::setWindowIcon(AppIcon::icon());
    platformScheme = Theme::schemeOf(QApplication::palette());
    Theme::apply(*application, platformScheme);
    return application;
}

void Windows::followColours(QObject *context, std::function<void()> then) {
    auto *colours = new ColorScheme;
    colours->setParent(context);
    QObject::connect(
        colours, &ColorScheme::told, context, [then = std::move(then)](ColorScheme::Preference preference) {
            Theme::Scheme wanted = platformScheme;
            if (preference != ColorScheme::Preference::None)
                wanted = preference == ColorScheme::Preference::Dark ? Theme::Scheme::Dark : Theme::Scheme::Light;
            if (wanted == Theme::schemeOf(QApplication::palette()))
                return;
            Theme::apply(*qApp, wanted);
            then();
        });
}
