#pragma once

#include "records/SyncRun.h"
#include "sync/PairPlan.h"
#include "sync/SyncJob.h"

#include <algorithm>
#include <compare>
#include <utility>
#include <vector>

/// What belongs into a run's record in the order of the plans, though it may become known in another order: a copy that
/// had to wait is settled after those that follow it.
template <typename Value>
class InOrder {
  public:
    /// First by pair (from 1; 0 for what was turned away before), then by the place in the pair's plan.
    struct Place {
        std::size_t pair = 0;
        std::size_t item = 0;
        auto operator<=>(const Place &) const = default;
    };

    explicit InOrder(std::vector<Value> &list) : values(list) {}

    /// Adds `value` after everything whose place is not later; returns its index.
    std::size_t add(Place place, Value value) {
        const auto after = std::upper_bound(places.begin(), places.end(), place);
        const auto index = after - places.begin();
        places.insert(after, place);
        values.insert(values.begin() + index, std::move(value));
        return static_cast<std::size_t>(index);
    }
    /// Whether nothing known so far comes after `place`.
    bool isLast(Place place) const { return places.empty() || places.back() <= place; }
    void dropLast() {
        places.pop_back();
        values.pop_back();
    }
    std::size_t size() const { return values.size(); }

  private:
    std::vector<Value> &values;
    std::vector<Place> places;
};

/// The record of a run while it is being written. For one thread.
class RunRecord {
  public:
    /// Which pair something is about, and which of its copies (from 1; 0 for what is about no copy).
    struct Place {
        std::size_t pair = 0;
        std::size_t copy = 0;
    };

    /// Writes into `run`, whose lists it alone may change from now on.
    explicit RunRecord(SyncRun &run);

    /// At most this many copies are recorded one by one, the first ones of the plans; the rest are counted.
    static constexpr std::size_t maximumChanges = 2000;

    /// Adds the plan's findings: what is up to date, left alone, in conflict or couldn't be read, and the skipped items
    /// with their notes.
    void addPlan(std::size_t pair, const SyncJob &job, const PairPlan &plan);

    /// Adds one copy made, of `version`.
    void addChange(Place place, const SyncJob &job, const PairPlan &plan, const PlannedCopy &copy,
                   const FileVersion &version, ChangeKind kind);
    void addKeptNewer(Place place, const QString &line) { keptNewer.add({place.pair, place.copy}, line); }
    void addConflict(Place place, const QString &line) { conflicts.add({place.pair, place.copy}, line); }
    void addError(Place place, const QString &line, const QString &path);
    void addNote(std::size_t pair, const QString &line) { notes.add({pair}, line); }
    void addResult(std::size_t pair, const PairResult &result) { results.add({pair}, result); }

    /// Adds the note that the backup's file system didn't keep the dates of `count` copies.
    void addLostDates(std::size_t pair, const SyncJob &job, std::int64_t count);

    SyncRun &run;

  private:
    void addSkipped(std::size_t pair, const SyncJob &job, const PairPlan &plan);

    InOrder<ChangeRecord> changes{run.changes};
    InOrder<QString> keptNewer{run.keptNewer};
    InOrder<QString> conflicts{run.conflicts};
    InOrder<QString> errors{run.errors};
    InOrder<QString> notes{run.notes};
    InOrder<PairResult> results{run.pairResults};
};
