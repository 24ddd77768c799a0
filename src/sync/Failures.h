#pragma once

#include "sync/PlannedJob.h"
#include "sync/TempArea.h"

#include <exception>

/// A failed step, in words and as the errno behind it (0 for failures of the program's own).
struct Failure {
    QString text;
    int error = 0;

    static Failure of(const std::exception_ptr &error);
};

/// What stops a run early.
struct Ending {
    QString fatal; ///< for the run
    QString note;  ///< for the pair
};

/// Judges the failures of one pair: which concern one file, and which end the run. Asks the disks. On the thread of the
/// run.
class FailureJudge {
  public:
    FailureJudge(const PlannedJob &plannedJob, TempArea &area) : planned(plannedJob), temp(area) {}

    /// The end of the run, if this failure means one.
    std::optional<Ending> endingFor(const PlannedCopy &copy, const Failure &failure) const;

    /// The end of the run, if another folder or none stands in the place of one of the two by now: what was copied then
    /// came from, or went to, where nobody looks for it. The original's isn't asked for after a cancel has closed it.
    std::optional<Ending> endingIfMoved() const;

  private:
    Ending disconnected() const;
    Ending disappeared() const;
    bool isOriginalGone(const PlannedCopy &copy, int error) const;
    bool isBackupGone(int error) const;

    const PlannedJob &planned;
    TempArea &temp;
};
