#include "app/Arguments.h"

#include <algorithm>

bool Arguments::has(const char *option) const {
    return std::find(options.begin(), options.end(), option) != options.end();
}

std::optional<Arguments> Arguments::parse(const std::vector<std::string> &arguments,
                                          std::span<const char *const> known) {
    Arguments result;
    bool onlyWords = false;
    for (const std::string &argument : arguments) {
        if (onlyWords || !argument.starts_with("--"))
            result.words.push_back(argument);
        else if (argument == "--")
            onlyWords = true;
        else if (std::find(known.begin(), known.end(), argument) != known.end())
            result.options.push_back(argument);
        else
            return std::nullopt;
    }
    return result;
}

bool Arguments::contain(const std::vector<std::string> &arguments, const char *option) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::find(arguments.begin(), end, option) != end;
}

std::optional<std::string> Arguments::valueAfter(const std::vector<std::string> &arguments, const char *option) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    const auto found = std::find(arguments.begin(), end, option);
    return found == end || found + 1 == arguments.end() ? std::nullopt : std::optional(*(found + 1));
}
