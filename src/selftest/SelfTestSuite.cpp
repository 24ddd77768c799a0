#include "selftest/SelfTestSuite.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "selftest/Checks.h"
#include "selftest/Suites.h"
#include "store/Log.h"
#include "store/TestRoot.h"

#include <QDir>

#include <algorithm>
#include <cstdlib>
#include <system_error>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

fs::path newTestRoot() {
    const char *chosen = std::getenv("TARNWICK_SELFTEST_DIR");
    const fs::path parent = chosen ? fs::path(chosen) : Text::toPath(QDir::tempPath());
    const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().left(6);
    return Paths::standardised(parent / ("selftest-" + std::to_string(::getpid()) + '-' + unique.toStdString()));
}

void carryOut(void (*suite)(const Fixture &world), const Fixture &world) {
    try {
        suite(world);
    } catch (const std::exception &error) {
        Checks::eq(error.what(), "no exception", "the suite was carried out to its end");
    }
}

} // namespace

int SelfTestSuite::run(const std::vector<std::string> &arguments) {
    const fs::path root = newTestRoot();
    try {
        TestRoot::prepare(root);
    } catch (const std::system_error &error) {
        Checks::print("Could not create the test root at " + root.native() + ": " + error.code().message());
        return 2;
    }
    ::unsetenv("TARNWICK_SUPPORT_DIR"); // would lead the settings out of the test root
    ::setenv("TARNWICK_FAST_TIMERS", "1", 1);
    TestRoot::set(root);
    Checks::print("Tarnwick Basic self-test. Test root: " + root.native());
    for (const auto suite : {Suites::isolation, Suites::oneDriveDetection, Suites::names, Suites::copying,
                             Suites::oneDirection, Suites::addAndUpdate, Suites::driveProfile, Suites::appModel})
        carryOut(suite, Fixture(root));

    // Whatever is still to be written belongs into the test root.
    AppModel::flushProfiles(std::chrono::seconds(5));
    Log::shared().flush(std::chrono::seconds(5));
    TestRoot::set(std::nullopt);
    std::error_code ignored;
    if (std::find(arguments.begin(), arguments.end(), "--keep") != arguments.end())
        Checks::print("\n(test root kept at " + root.native() + ")");
    else
        fs::remove_all(root, ignored);
    return Checks::printSummary() ? 0 : 1;
}
