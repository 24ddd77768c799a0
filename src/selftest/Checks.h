#pragma once

#include "model/AppModel.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>

/// The checks of the self-test: counted, and printed where they fail. Texts are UTF-8. Process-wide; for the main
/// thread.
namespace Checks {

/// A value as a failed check shows it: an absent one is "none", the items of a list are joined with " | ".
template <typename Value>
std::string asText(const Value &value) {
    if constexpr (std::is_same_v<Value, bool>)
        return value ? "true" : "false";
    else if constexpr (std::is_arithmetic_v<Value>)
        return std::to_string(value);
    else if constexpr (std::is_convertible_v<const Value &, std::string>)
        return value;
    else if constexpr (std::is_convertible_v<const Value &, QString>)
        return QString(value).toStdString();
    else if constexpr (requires { value.has_value(); })
        return value ? asText(*value) : "none";
    else {
        std::string text;
        for (const auto &item : value)
            text += (text.empty() ? "" : " | ") + asText(item);
        return text;
    }
}

/// One line on standard output, which is flushed.
void print(const std::string &line);
/// Starts a suite.
void begin(const std::string &title);
/// `label` says what holds.
void check(bool condition, const std::string &label);

/// Checks that two values have the same text.
template <typename Actual, typename Expected>
void eq(const Actual &actual, const Expected &expected, const std::string &label) {
    const std::string is = asText(actual);
    const std::string shouldBe = asText(expected);
    check(is == shouldBe, is == shouldBe ? label : label + ": expected " + shouldBe + ", got " + is);
}

/// Turns the event loop for so long.
void settle(double seconds);
/// Turns the event loop until `condition` holds, `seconds` at most, and checks that it came to hold.
void waitUntil(const std::function<bool()> &condition, const std::string &label, double seconds = 25);
void waitIdle(const AppModel &model, const std::string &label, double seconds = 25);
/// Waits until the model knows what it has asked the disks.
void waitForDisks(const AppModel &model);
/// What an operation of the model answers, once the model knows its effect on the disks.
std::optional<QString> answerOf(const AppModel &model, const std::function<void(const AppModel::Answer &)> &operation);
std::optional<QString> added(AppModel &model, const std::filesystem::path &original,
                             const std::filesystem::path &backup);
/// Prints how many checks passed and which failed. Returns whether all passed.
bool printSummary();

} // namespace Checks
