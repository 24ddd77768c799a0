#include "app/TarnwickBasicMain.h"

#include "app/BackupCommand.h"
#include "app/Console.h"
#include "app/Version.h"
#include "store/TestRoot.h"

#include <algorithm>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace TarnwickBasicMain {

namespace {

constexpr const char *help =
    R"(Tarnwick Basic keeps a one-way backup of folders in your OneDrive folder.

  tarnwick-basic --backup ORIGINAL BACKUP [--dry-run] [--json]
                     back up one folder, once; no settings are touched
  tarnwick-basic --help | --version

  --dry-run   show what would be done and change nothing
  --json      print the result as one JSON object

Nothing in BACKUP is ever removed, nothing in ORIGINAL is ever changed, and a newer
file in BACKUP is never replaced by an older one.

Exit status: 0 all is well; 1 something could not be backed up; 2 wrong usage;
3 refused to start; 130 stopped by Ctrl-C.)";

/// What follows "--" is never an option.
bool has(const std::vector<std::string> &arguments, const char *option) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::find(arguments.begin(), end, option) != end;
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

} // namespace

int run(int argc, char **argv) {
    fillStandardStreams();
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (const std::optional<QString> refusal = TestRoot::bootstrapFromEnvironment()) {
        Console::error(*refusal);
        return Refused;
    }
    if (TARNWICK_SELFTEST_BUILD && !TestRoot::isActive() && !has(arguments, "--selftest")) {
        Console::error(QStringLiteral("This is a self-test build. Set TARNWICK_TEST_ROOT to a prepared test folder; it "
                                      "won't run against real folders."));
        return Refused;
    }
    if (has(arguments, "--help")) {
        Console::out(QString::fromUtf8(help));
        return Clean;
    }
    if (has(arguments, "--version")) {
        Console::out(QStringLiteral("Tarnwick Basic " TARNWICK_VERSION));
        return Clean;
    }
    if (has(arguments, "--backup"))
        return BackupCommand::run(arguments);
    Console::error(QStringLiteral("tarnwick-basic: nothing to do; see tarnwick-basic --help"));
    return WrongUsage;
}

} // namespace TarnwickBasicMain
