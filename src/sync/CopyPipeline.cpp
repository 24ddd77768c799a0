#include "sync/CopyPipeline.h"

#include "platform/Durability.h"

namespace {

constexpr std::size_t batchFiles = 1000;
constexpr std::int64_t batchBytes = 256 * 1024 * 1024;
constexpr std::chrono::seconds batchTime(5);
/// Each copy beside its target keeps a descriptor open for its lock.
constexpr std::size_t batchDescriptors = 200;

} // namespace

CopyPipeline::~CopyPipeline() { drop(); }

bool CopyPipeline::isFull(const Batch &batch) {
    return batch.items.size() >= batchFiles || batch.bytes >= batchBytes || batch.besideTarget >= batchDescriptors ||
           Clock::now() - batch.begun >= batchTime;
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
    filling.bytes += item.copy->size;
    if (item.staged) {
        filling.volumes.insert(&item.staged->tempVolume());
        filling.besideTarget += item.staged->isBeside() ? 1 : 0;
    }
    filling.items.push_back(std::move(item));

    if (isFlushDone() && finishFlush() == Next::Stop)
        return Next::Stop;
    if (!isFull(filling))
        return Next::GoOn;
    if (finishFlush() == Next::Stop)
        return Next::Stop;
    startFlush();
    return Next::GoOn;
}

CopyPipeline::Next CopyPipeline::drain() {
    if (finishFlush() == Next::Stop)
        return Next::Stop;
    startFlush();
    return finishFlush();
}

int CopyPipeline::flushPublished() { return flush(std::exchange(published, {})); }

void CopyPipeline::startFlush() {
    if (filling.items.empty())
        return;
    flushing = std::exchange(filling, {});
    flushResult = std::async(std::launch::async, [volumes = flushing.volumes] { return flush(volumes); });
}

bool CopyPipeline::isFlushDone() const {
    return flushResult.valid() && flushResult.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

CopyPipeline::Next CopyPipeline::finishFlush() {
    if (!flushResult.valid())
        return Next::GoOn;
    const int error = flushResult.get();
    published.insert(flushing.volumes.begin(), flushing.volumes.end());
    for (CopyInProgress &item : flushing.items) {
        if (settle(item, error) == Next::Stop) {
            drop();
            return Next::Stop;
        }
    }
    flushing = {};
    return Next::GoOn;
}

void CopyPipeline::drop() {
    if (flushResult.valid())
        flushResult.wait();
    flushResult = {};
    flushing = {};
    filling = {};
}
