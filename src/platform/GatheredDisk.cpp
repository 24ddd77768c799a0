#include "platform/GatheredDisk.h"

#include "base/Paths.h"

#include <cerrno>

DiskAnswer answerOf(const DiskQuestion &question) {
    DirectDisk disk;
    DiskAnswer answer;
    switch (question.kind) {
    case DiskQuestion::Kind::Look:
        answer.facts = disk.lookWithin(question.path, answer.leadsTo);
        break;
    case DiskQuestion::Kind::Items:
        answer.items = disk.visibleItems(question.path);
        break;
    case DiskQuestion::Kind::Text:
        answer.text = disk.text(question.path);
        break;
    }
    return answer;
}

const DiskAnswer *GatheredDisk::answerTo(DiskQuestion question) {
    const auto found = answers.find(question);
    if (found != answers.end())
        return &found->second;
    notGathered.insert(std::move(question));
    ++unansweredCount;
    return nullptr;
}

PathFacts GatheredDisk::look(const Path &path) {
    const Path wanted = Paths::standardised(path);
    Path current = wanted;
    for (int hops = 0; hops < mostLinks; ++hops) {
        const DiskAnswer *answer = answerTo({DiskQuestion::Kind::Look, current});
        if (!answer) {
            PathFacts unanswered;
            unanswered.isAnswered = false;
            unanswered.resolved = current;
            return unanswered;
        }
        if (answer->leadsTo.empty())
            return answer->facts;
        current = answer->leadsTo;
    }
    PathFacts endless;
    endless.error = ELOOP;
    endless.resolved = wanted;
    return endless;
}

/// Asked by the path without links, so that no other mount is waited for.
const DiskAnswer *GatheredDisk::answerInside(DiskQuestion::Kind kind, const Path &path) {
    const PathFacts facts = look(path);
    return facts.isAnswered && facts.error == 0 ? answerTo({kind, facts.resolved}) : nullptr;
}

std::vector<FolderItem> GatheredDisk::visibleItems(const Path &folder) {
    const DiskAnswer *answer = answerInside(DiskQuestion::Kind::Items, folder);
    if (!answer)
        return {};
    std::vector<FolderItem> items = answer->items;
    for (FolderItem &item : items)
        item.path = folder / item.path.filename();
    return items;
}

std::string GatheredDisk::text(const Path &file) {
    const DiskAnswer *answer = answerInside(DiskQuestion::Kind::Text, file);
    return answer ? answer->text : std::string();
}
