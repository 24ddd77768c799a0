#include "sync/Lister.h"

#include "platform/FileFacts.h"
#include "platform/FolderReader.h"
#include "sync/IgnoreRules.h"

#include <cerrno>
#include <iterator>
#include <optional>

#include <dirent.h>

Entry Listing::at(std::size_t index) const {
    const Record &record = records[index];
    return {std::string_view(names).substr(record.nameBegin, record.nameLength), record.isDir, record.size,
            FileTime{record.seconds, record.nanoseconds}};
}

void Listing::add(std::string_view name, bool isDir, std::int64_t size, FileTime mtime) {
    records.push_back({mtime.seconds, size, mtime.nanoseconds, static_cast<std::uint32_t>(names.size()),
                       static_cast<std::uint16_t>(name.size()), isDir});
    names.append(name);
    names.push_back('\0');
}

namespace Lister {

namespace {

bool isNeverKept(unsigned char type) {
    return type == DT_SOCK || type == DT_FIFO || type == DT_CHR || type == DT_BLK;
}

} // namespace

Listing list(int folder, std::int64_t &skippedLinks, std::vector<std::string> &staleTemps) {
    Listing listing;
    std::int64_t links = 0;
    std::vector<std::string> temporaries;
    FolderReader reader(folder);
    FolderReader::Item item;
    while (reader.next(item)) {
        const IgnoreRules::Verdict verdict = IgnoreRules::judge(item.name);
        if (verdict == IgnoreRules::Verdict::StaleTemporary)
            temporaries.emplace_back(item.name);
        if (verdict != IgnoreRules::Verdict::Keep || isNeverKept(item.type))
            continue;
        const std::optional<FileFacts> facts = lookAt(folder, item.name.data());
        if (!facts && errno != ENOENT)
            listing.unseen.push_back({std::string(item.name), errno});
        if (!facts || facts->kind == FileKind::Other)
            continue;
        if (facts->kind == FileKind::Link)
            ++links;
        else
            listing.add(item.name, facts->kind == FileKind::Folder, facts->size, facts->mtime);
    }
    skippedLinks += links;
    std::move(temporaries.begin(), temporaries.end(), std::back_inserter(staleTemps));
    return listing;
}

} // namespace Lister
