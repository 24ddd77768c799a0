#include "records/PairResult.h"

#include "json/JsonReader.h"
#include "json/JsonWriter.h"
#include "records/Hash.h"

void PairResult::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("bytes", bytes);
    out.member("copied", copied);
    out.member("errors", errors);
    out.member("name", name);
    out.member("note", note);
    out.member("pairID", pairID);
    out.endObject();
}

PairResult PairResult::fromJson(const JsonReader &in) {
    return {.pairID = in.required<QUuid>("pairID"),
            .name = in.required<QString>("name"),
            .copied = in.required<std::int64_t>("copied"),
            .bytes = in.required<std::int64_t>("bytes"),
            .errors = in.required<std::int64_t>("errors"),
            .note = in.optional<QString>("note")};
}

std::size_t std::hash<PairResult>::operator()(const PairResult &result) const {
    return Hash::ofAll(result.pairID, result.name, result.copied, result.bytes, result.errors, result.note);
}
