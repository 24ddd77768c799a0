#include "sync/CopyPipeline.h"

#include "platform/Durability.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace {

/// Measured: with 1,000 the next batch waited for the flush of the last one; with 4,000 nothing more is gained.
constexpr std::size_t batchFiles = 2000;
constexpr std::int64_t batchBytes = 256 * 1024 * 1024;
constexpr std::chrono::seconds batchTime(5);
/// Each copy beside its target keeps two descriptors open, for its lock and for its folder, and two batches exist at a
/// time: well below the usual limit of 1,024.
constexpr std::size_t batchBeside = 100;

} // namespace

CopyPipeline::~CopyPipeline() {
    drop();
}

bool CopyPipeline::isFull(const Batch &batch) {
    return batch.items.size() >= batchFiles || batch.bytes >= batchBytes || batch.besideTarget >= batchBeside ||
           Clock::now() - batch.begun >= batchTime;
}

/// Nothing is gained by collecting files that are flushed one by one, and a client's mount begins to upload a copy
/// under its temporary name soon after it was closed.
bool CopyPipeline::isFlushed(const Batch &batch) {
    return std::any_of(batch.volumes.begin(), batch.volumes.end(),
                       [](const TempVolume *volume) { return volume->durability == Durability::Method::EachFile; });
}

int CopyPipeline::flush(const std::set<TempVolume *> &volumes) {
    int error = 0;
    for (TempVolume *volume : volumes) {
        if (volume->durability != Durability::Method::WholeVolume)
            continue;
        const int result = Durability::flushVolume(volume->anywhere.get());
        error = error ? error : result;
    }
    return error;
}

CopyPipeline::Next CopyPipeline::add(CopyInProgress item) {
    if (filling.items.empty())
        filling.begun = Clock::now();
    filling.bytes += item.version.size;
    if (const StagedCopy *staged = item.staged()) {
        filling.volumes.insert(&staged->tempVolume());
        filling.besideTarget += staged->isBeside() ? 1 : 0;
    }
    filling.items.push_back(std::move(item));

    if (isDone() && finish() == Next::Stop)
        return Next::Stop;
    if (isFull(filling) && finish() == Next::Stop)
        return Next::Stop;
    if (!result.valid() && (isFull(filling) || isFlushed(filling)))
        start();
    return Next::GoOn;
}

CopyPipeline::Next CopyPipeline::drain() {
    if (finish() == Next::Stop)
        return Next::Stop;
    start();
    return finish();
}

int CopyPipeline::flushPublished() {
    return flush(std::exchange(published, {}));
}

int CopyPipeline::flushAndPublish(Batch &batch) const {
    const int error = flush(batch.volumes);
    if (error != 0)
        return error;
    for (CopyInProgress &item : batch.items) {
        if (item.staged())
            publish(item);
        if (std::holds_alternative<CopyInProgress::NotPublished>(item.state))
            break;
    }
    return 0;
}

void CopyPipeline::start() {
    if (filling.items.empty())
        return;
    underWay = std::exchange(filling, {});
    for (TempVolume *volume : underWay.volumes)
        volume->turn();
    try {
        result = std::async(std::launch::async, [this] { return flushAndPublish(underWay); });
    } catch (const std::system_error &) {
        // No thread to be had: slower, but just as safe.
        std::promise<int> now;
        now.set_value(flushAndPublish(underWay));
        result = now.get_future();
    }
}

bool CopyPipeline::isDone() const {
    return result.valid() && result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

CopyPipeline::Next CopyPipeline::finish() {
    if (!result.valid())
        return Next::GoOn;
    const int error = result.get();
    if (error == 0)
        published.insert(underWay.volumes.begin(), underWay.volumes.end());
    for (CopyInProgress &item : underWay.items) {
        // What follows a failure waits until it has been judged.
        if (item.staged() && error == 0)
            publish(item);
        if (settle(item, error) == Next::Stop) {
            drop();
            return Next::Stop;
        }
    }
    underWay = {};
    return Next::GoOn;
}

void CopyPipeline::drop() {
    if (result.valid())
        result.wait();
    result = {};
    underWay = {};
    filling = {};
}
