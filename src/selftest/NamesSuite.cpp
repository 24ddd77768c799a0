#include "selftest/Checks.h"
#include "selftest/Suites.h"

using namespace Checks;

void Suites::names(const Fixture &world) {
    begin("OneDrive name rules: skipped and reported, never copied under another name");
    carryOut(
        {{"eight items",
          "a:b=1 | what?=1 | end =1 | tab\t=1 | w*<z>\\q\"=1 | Bad|Folder/1=1 | Bad|Folder/2=1 | "
          "tool.bat=1 | Sub/LIB.JAR=1 | good=1 | Folder.bat/jar=1",
          "", "Folder.bat/ | Folder.bat/jar=1 | Sub/ | good=1",
          "2 files copied (2 bytes) · 8 skipped | Bad|Folder→Bad_Folder | Sub/LIB.JAR→.jar | a:b→a_b | end →end | "
          "tab\t→tab_ | tool.bat→.bat | w*<z>\\q\"→w__z__q_ | what?→what_ | Photos: 6 items were skipped because "
          "OneDrive can't store their names (invisible characters, a space at the end, or \" * : < > ? \\ |). Rename "
          "them on your drive to back them up. | Photos: 2 files were skipped because OneDrive doesn't accept those "
          "types (.bat, .jar)."},
         {"one of each kind", "x.Pid=1 | :=1", "", "",
          "2 skipped | :→_ | x.Pid→.pid | Photos: 1 item was skipped because OneDrive can't "
          "store its name (invisible characters, a space at the end, or \" * : < > ? \\ |). Rename it on your drive to "
          "back it up. | Photos: 1 file was skipped because OneDrive doesn't accept that type (.pid)."},
         {"names that are fine", "[café] – 東=1 |  begin=1 | x.bat.txt=1", "a_b=1",
          " begin=1 | [café] – 東=1 | a_b=1 | x.bat.txt=1",
          "3 files copied (3 bytes) | Photos: 1 item has a name or a path that OneDrive clients refuse (“ begin”). Its "
          "backup may not reach the cloud."},
         {"matching names", "ReadMe.TXT=new@5 | cafe\u0301/x=new@5", "readme.txt=older | CAFÉ/x=older",
          "CAFÉ/ | CAFÉ/x=new@5 | readme.txt=new@5", "2 files copied (6 bytes)"}},
        world);
    world.reset();
    Fixture::put(world.drive("Photos"), "Notes=1 | notes=2");
    eq(world.backUp().conflicts.size(), 1, "two names that differ in capitals alone are a clash");
}
