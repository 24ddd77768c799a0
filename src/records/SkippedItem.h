#pragma once

#include "records/SkipKind.h"

#include <QString>
#include <QUuid>

#include <functional>

class JsonReader;
class JsonWriter;

/// One item that a run skipped for its name or its type.
struct SkippedItem {
    QUuid id = QUuid::createUuid();
    QUuid pairID = {};
    QString pairName = {};
    QString relPath = {}; ///< Relative to the original folder.
    QString path = {};    ///< Full path of the original item.
    SkipKind kind = SkipKind::name;
    /// For a name, the name as OneDrive could store it; for a type, a dot and the lower-case extension.
    QString detail = {};

    bool operator==(const SkippedItem &) const = default;

    void toJson(JsonWriter &out) const;

    /// All keys are required. Fails with JsonError.
    static SkippedItem fromJson(const JsonReader &in);
};

template <>
struct std::hash<SkippedItem> {
    std::size_t operator()(const SkippedItem &item) const;
};
