#pragma once

#include <QString>
#include <QUuid>

#include <cstdint>
#include <functional>
#include <optional>

class JsonReader;
class JsonWriter;

/// The outcome for one pair in one run.
struct PairResult {
    QUuid pairID = {};
    QString name = {};
    std::int64_t copied = 0;          ///< Files copied.
    std::int64_t bytes = 0;           ///< Bytes copied.
    std::int64_t errors = 0;          ///< Problems counted for this pair.
    std::optional<QString> note = {}; ///< A short verdict, such as "Cancelled".

    bool operator==(const PairResult &) const = default;

    void toJson(JsonWriter &out) const;

    /// All keys but `note` are required. Fails with JsonError.
    static PairResult fromJson(const JsonReader &in);
};

template <>
struct std::hash<PairResult> {
    std::size_t operator()(const PairResult &result) const;
};
