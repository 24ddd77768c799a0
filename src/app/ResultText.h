#pragma once

#include "records/SyncRun.h"
#include "sync/PairPlan.h"

#include <functional>

/// A result in lines for a terminal or a script.
namespace ResultText {

using Line = std::function<void(const QString &)>;

/// The headline, then one line per problem, conflict, file left alone, skipped item (the first twenty, then how many
/// more) and note.
void print(const SyncRun &run, const Line &line);

enum class Form { Lines, Json };

/// Prints the finished run on standard output and returns the exit status that tells its outcome.
int report(const SyncRun &run, Form form);

/// What a run would do: a headline, then one line per folder, copy, problem, conflict, file left alone and skipped
/// item.
void print(const PairPlan &plan, const Line &line);

} // namespace ResultText
