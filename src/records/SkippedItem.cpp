#include "records/SkippedItem.h"

#include "json/JsonReader.h"
#include "json/JsonWriter.h"
#include "records/Hash.h"

void SkippedItem::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("detail", detail);
    out.member("id", id);
    out.member("kind", kind);
    out.member("pairID", pairID);
    out.member("pairName", pairName);
    out.member("path", path);
    out.member("relPath", relPath);
    out.endObject();
}

SkippedItem SkippedItem::fromJson(const JsonReader &in) {
    return {.id = in.required<QUuid>("id"),
            .pairID = in.required<QUuid>("pairID"),
            .pairName = in.required<QString>("pairName"),
            .relPath = in.required<QString>("relPath"),
            .path = in.required<QString>("path"),
            .kind = in.required<SkipKind>("kind"),
            .detail = in.required<QString>("detail")};
}

std::size_t std::hash<SkippedItem>::operator()(const SkippedItem &item) const {
    return Hash::ofAll(item.id, item.pairID, item.pairName, item.relPath, item.path, item.kind, item.detail);
}
