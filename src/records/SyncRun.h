#pragma once

#include "records/ChangeRecord.h"
#include "records/PairResult.h"
#include "records/SkippedItem.h"
#include "records/SyncTrigger.h"

#include <QDateTime>
#include <QString>
#include <QUuid>

#include <cstdint>
#include <optional>
#include <vector>

/// The record of one finished run, identified by `id`.
struct SyncRun {
    QUuid id = QUuid::createUuid();
    QDateTime started = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);  ///< UTC.
    QDateTime finished = QDateTime::fromSecsSinceEpoch(0, Qt::UTC); ///< UTC.
    SyncTrigger trigger = SyncTrigger::manual;
    std::vector<QString> pairNames = {}; ///< The pairs that the run was asked to sync, in job order.
    std::int64_t filesCopied = 0;
    std::int64_t bytesCopied = 0;
    std::int64_t foldersCreated = 0; ///< In OneDrive; a missing backup folder counts too.
    std::int64_t upToDate = 0;
    std::vector<QString> keptNewer = {};    ///< One line per file left alone because OneDrive's is newer.
    std::vector<QString> conflicts = {};    ///< One line per name clash.
    std::vector<QString> errors = {};       ///< One line per problem.
    std::vector<QString> errorPaths = {};   ///< What the line at the same place is about; "" or missing when unknown.
    std::vector<QString> notes = {};        ///< Explanations that are no problems.
    std::vector<ChangeRecord> changes = {}; ///< Copies in the order made, as far as recorded.
    std::int64_t changesOmitted = 0;        ///< Copies made beyond the recorded ones.
    std::vector<PairResult> pairResults = {};
    std::vector<SkippedItem> skipped = {};
    bool cancelled = false;
    std::optional<QString> fatal = {}; ///< What stopped the run early.

    bool operator==(const SyncRun &) const = default;

    /// The run in one line, such as "2 files copied (4 KB) · 1 skipped · 1 problem".
    QString headline() const;

    void toJson(JsonWriter &out) const;

    void addError(const QString &line, const QString &path);

    /// All keys but `fatal` and `errorPaths` are required. Fails with JsonError.
    static SyncRun fromJson(const JsonReader &in);
};
