#include "app/Locale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>

void Locale::useUtf8() {
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        ::setenv("LC_ALL", "C.UTF-8", 1);
}
