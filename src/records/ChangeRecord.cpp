#include "records/ChangeRecord.h"

#include "json/JsonReader.h"
#include "json/JsonWriter.h"
#include "records/Hash.h"

void ChangeRecord::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("fromPath", fromPath);
    out.member("id", id);
    out.member("kind", kind);
    out.member("pairID", pairID);
    out.member("pairName", pairName);
    out.member("path", path);
    out.member("relPath", relPath);
    out.member("size", size);
    out.endObject();
}

ChangeRecord ChangeRecord::fromJson(const JsonReader &in) {
    return {.id = in.required<QUuid>("id"),
            .pairName = in.required<QString>("pairName"),
            .relPath = in.required<QString>("relPath"),
            .kind = in.required<ChangeKind>("kind"),
            .path = in.required<QString>("path"),
            .size = in.required<std::int64_t>("size"),
            .fromPath = in.optional<QString>("fromPath"),
            .pairID = in.optional<QUuid>("pairID")};
}

std::size_t std::hash<ChangeRecord>::operator()(const ChangeRecord &change) const {
    return Hash::ofAll(change.id, change.pairName, change.relPath, change.kind, change.path, change.size,
                       change.fromPath, change.pairID);
}
