#include "app/TarnwickBasicMain.h"

#include "app/AppTest.h"
#include "app/Application.h"
#include "app/Arguments.h"
#include "app/BackupCommand.h"
#include "app/Console.h"
#include "app/FolderCommands.h"
#include "app/ModelSession.h"
#include "app/OneDriveCommand.h"
#include "app/Snapshot.h"
#include "app/SyncCommand.h"
#include "app/Version.h"
#include "base/Paths.h"
#include "selftest/SelfTestSuite.h"
#include "store/TestRoot.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace TarnwickBasicMain {

namespace {

constexpr const char *help =
    R"(Tarnwick Basic keeps a one-way backup of folders in your OneDrive folder.

  tarnwick-basic     start, or bring the running application to the front
  tarnwick-basic FOLDER ...
                     the same, and open Add Folder
  tarnwick-basic --action sync-now | add-folder | show-activity | show-settings
                     let the application do that; start it if need be
  tarnwick-basic --backup ORIGINAL BACKUP [--dry-run] [--json]
                     back up one folder, once; no settings are touched
  tarnwick-basic --sync [NAME-OR-ID ...] [--json]
                     sync all ready folders of the list, or the named ones;
                     the application does it if it is running
  tarnwick-basic --list [--json]
                     show the folder list and what is ready
  tarnwick-basic --add ORIGINAL BACKUP
                     add a folder to the list
  tarnwick-basic --remove NAME-OR-ID
                     take a folder out of the list; its backup stays
  tarnwick-basic --onedrive [FOLDER]
                     show which OneDrive folders are found and which is used;
                     or use this one
  tarnwick-basic --selftest [--keep]
                     test the whole program in a folder of its own
  tarnwick-basic --apptest SECONDS
                     run the application in a test root and print what happens
  tarnwick-basic --snapshot FILE.png [folders | activity | settings | addfolder]
                     draw one screen into a picture
  tarnwick-basic --help | -h | --version

  --dry-run   show what would be done and change nothing
  --json      print the result as one JSON object
  --keep      don't delete the self-test's folder

Nothing in BACKUP is ever removed, nothing in ORIGINAL is ever changed, and a newer
file in BACKUP is never replaced by an older one.

Exit status: 0 all is well; 1 something could not be backed up, the settings could
not be saved or the result could not be written; 2 wrong usage or nothing could be
done; 3 refused to start; 130 stopped by Ctrl-C, which stops safely the first time
and at once the second.)";

int runSelfTest(const std::vector<std::string> &arguments) {
    const std::unique_ptr<QCoreApplication> application = ModelSession::makeApplication();
    const auto option = std::find(arguments.begin(), arguments.end(), "--selftest");
    return SelfTestSuite::run({option + 1, arguments.end()});
}

/// The tab named after the image path of "--snapshot".
std::string tabAfter(const std::vector<std::string> &arguments) {
    const auto found = std::find(arguments.begin(), arguments.end(), "--snapshot");
    return arguments.end() - found > 2 ? *(found + 2) : "folders";
}

double secondsFrom(const std::string &text) {
    bool isNumber = false;
    const double seconds = QByteArray::fromStdString(text).toDouble(&isNumber);
    return isNumber && std::isfinite(seconds) ? seconds : 60;
}

/// Read before the working directory changes.
void makeSupportDirAbsolute() {
    if (const char *folder = std::getenv("TARNWICK_SUPPORT_DIR"))
        ::setenv("TARNWICK_SUPPORT_DIR", Paths::standardised(folder).c_str(), 1);
}

/// A standard stream that is missing would be taken by the next file that is opened, and what is printed would go
/// there.
void fillStandardStreams() {
    int descriptor;
    do
        descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

int runMode(const std::vector<std::string> &arguments) {
    if (const std::optional<QString> refusal = TestRoot::bootstrapFromEnvironment()) {
        Console::error(*refusal);
        return Refused;
    }
    if (TARNWICK_SELFTEST_BUILD && !TestRoot::isActive() && !Arguments::contain(arguments, "--selftest")) {
        Console::error(QStringLiteral("This is a self-test build. Set TARNWICK_TEST_ROOT to a prepared test folder; it "
                                      "won't run against real folders."));
        return Refused;
    }
    makeSupportDirAbsolute();
    if (Arguments::contain(arguments, "--selftest"))
        return runSelfTest(arguments);
    if (const std::optional<std::string> seconds = Arguments::valueAfter(arguments, "--apptest"))
        return SelfTest::app(secondsFrom(*seconds));
    if (const std::optional<std::string> path = Arguments::valueAfter(arguments, "--snapshot"))
        return SelfTest::snapshot(*path, tabAfter(arguments));
    if (Arguments::contain(arguments, "--help") || Arguments::contain(arguments, "-h")) {
        Console::outDocument(help);
        return Clean;
    }
    if (Arguments::contain(arguments, "--version")) {
        Console::out(QStringLiteral("Tarnwick Basic " TARNWICK_VERSION));
        return Clean;
    }
    if (Arguments::contain(arguments, "--backup"))
        return BackupCommand::run(arguments);
    if (Arguments::contain(arguments, "--sync"))
        return SyncCommand::run(arguments);
    if (Arguments::contain(arguments, "--list"))
        return FolderCommands::list(arguments);
    if (Arguments::contain(arguments, "--add"))
        return FolderCommands::add(arguments);
    if (Arguments::contain(arguments, "--remove"))
        return FolderCommands::remove(arguments);
    if (Arguments::contain(arguments, "--onedrive"))
        return OneDriveCommand::run(arguments);
    return Application::run(arguments);
}

} // namespace

int run(int argc, char **argv) {
    fillStandardStreams();
    return Console::finish(runMode({argv + std::min(argc, 1), argv + argc}));
}

} // namespace TarnwickBasicMain
