#include "support/Shell.h"

#include <cstdio>
#include <stdexcept>

std::string shell(const std::string &command) {
    // An ordinary PATH leaves out where Debian keeps mkfs and mount.
    FILE *pipe = ::popen(("exec 2>&1; PATH=$PATH:/usr/sbin:/sbin; " + command).c_str(), "re");
    std::string printed;
    for (int character; pipe && (character = std::fgetc(pipe)) != EOF;)
        printed += static_cast<char>(character);
    if (!pipe || ::pclose(pipe) != 0)
        throw std::runtime_error(command + ": " + printed);
    return printed.substr(0, printed.find_last_not_of('\n') + 1);
}
