#pragma once

#include "records/ChangeKind.h"

#include <QString>
#include <QUuid>

#include <cstdint>
#include <functional>
#include <optional>

class JsonReader;
class JsonWriter;

/// One copy made by a run.
struct ChangeRecord {
    QUuid id = QUuid::createUuid();
    QString pairName = {};
    QString relPath = {}; ///< Relative to the pair's two folders.
    ChangeKind kind = ChangeKind::added;
    QString path = {};                    ///< Full path of the file in OneDrive.
    std::int64_t size = 0;                ///< Bytes.
    std::optional<QString> fromPath = {}; ///< Full path of the original; records of old versions lack it.
    std::optional<QUuid> pairID = {};     ///< The pair's `id`; records of old versions lack it.

    bool operator==(const ChangeRecord &) const = default;

    void toJson(JsonWriter &out) const;

    /// All keys but `fromPath` and `pairID` are required. Fails with JsonError.
    static ChangeRecord fromJson(const JsonReader &in);
};

template <>
struct std::hash<ChangeRecord> {
    std::size_t operator()(const ChangeRecord &change) const;
};
