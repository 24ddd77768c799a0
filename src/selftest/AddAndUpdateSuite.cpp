#include "selftest/Checks.h"
#include "selftest/Suites.h"

using namespace Checks;

void Suites::addAndUpdate(const Fixture &world) {
    begin("Add and update only: nothing in OneDrive is ever removed");
    constexpr const char *nothingToDo = "Everything was already up to date";
    carryOut({{"an emptied folder", "", "Sub/b=1 | a=1", "Sub/ | Sub/b=1 | a=1", nothingToDo},
              {"a renamed folder", "New/a=1", "Old/a=1", "New/ | New/a=1 | Old/ | Old/a=1", "1 file copied (1 byte)"},
              {"other capitals", "Sub/A=1", "sub/a=1", "sub/ | sub/a=1", nothingToDo},
              {"a file where a folder is", "x=1 | y=1", "X/a=1", "X/ | X/a=1 | y=1",
               "1 file copied (1 byte) | Photos/x — a folder with the same name is already in the backup"},
              {"a folder where a file is", "x/a=1", "x=1", "x=1",
               "Everything was already up to date | Photos/x — a file with the same name is already in the backup"}},
             world);
}
