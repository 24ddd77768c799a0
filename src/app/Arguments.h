#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

/// The arguments of one command, taken apart. What follows "--" is never an option.
struct Arguments {
    std::vector<std::string> words;   ///< what is no option
    std::vector<std::string> options; ///< those that were given

    bool has(const char *option) const;

    /// None when an option is not among `known`.
    static std::optional<Arguments> parse(const std::vector<std::string> &arguments,
                                          std::span<const char *const> known);

    /// Whether the option is among the arguments.
    static bool contain(const std::vector<std::string> &arguments, const char *option);

    /// The argument after the first `option`; none when there is none.
    static std::optional<std::string> valueAfter(const std::vector<std::string> &arguments, const char *option);
};
