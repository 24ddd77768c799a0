#pragma once

#include "sync/PairPlan.h"

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

} // namespace PlanUnderTest
