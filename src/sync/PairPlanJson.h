#pragma once

#include "sync/PairPlan.h"

#include <QByteArray>

/// The plan as one JSON object in the layout of the program's own files. Full paths are plain text; `mtime` is a number
/// of seconds since 1970-01-01 UTC with its fraction.
QByteArray toJson(const PairPlan &plan);
