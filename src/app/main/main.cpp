#include "app/TarnwickBasicMain.h"

int main(int argc, char **argv) {
    return TarnwickBasicMain::run(argc, argv);
}
