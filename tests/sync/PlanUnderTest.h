#pragma once

#include "sync/PairPlan.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Plans of two folders, told as lines of text so that whole plans can be compared.
namespace PlanUnderTest {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

/// A backup folder that is missing counts as missing, as in a run.
PairPlan planOf(const fs::path &original, const fs::path &backup);

/// Everything that the plan holds, in the order of the plan: "folder REL > TARGET", "added REL > TARGET:
/// SIZE@SECONDS", "updated REL > TARGET: SIZE@SECONDS over SIZE@SECONDS", "skip KIND REL | DETAIL", the sentences,
/// "temp REL", and the counts that are not 0. Targets are relative to the backup folder, seconds to `someTime`.
Lines told(const PairPlan &plan);

/// The lines in the order of their bytes: for plans of folders whose order is the file system's affair.
Lines sorted(Lines lines);

/// What `act` returns in a child process; none when the child did not get that far.
std::optional<std::string> inChild(const std::function<std::string()> &act);

/// The same without the rights of root. Folders that `act` needs must be open to everyone.
std::optional<std::string> asOrdinaryUser(const std::function<std::string()> &act);

/// The lines as one text, for handing them out of a child.
std::string text(const Lines &lines);

} // namespace PlanUnderTest
