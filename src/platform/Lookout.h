#pragma once

#include "platform/GatheredDisk.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <vector>

/// Finds out what the disks hold without ever waiting for one. Every mount is asked on a thread of its own, one thing
/// at a time, so that one that sleeps or hangs holds up no other; no thread is ever joined.
///
/// For the main thread, which needs an event loop.
class Lookout : public QObject {
  public:
    using Milliseconds = std::chrono::milliseconds;

    /// Works something out from what `disk` tells and keeps the result. Called again and again with more and more
    /// answers, on the main thread: it must be quick and have no other effect. Returns whether the result holds
    /// although `disk` has not answered everything.
    using Question = std::function<bool(Disk &disk)>;
    /// Told right after the question was last called: everything that matters is answered, or the patience is over.
    using Ended = std::function<void(bool isAnswered)>;

    enum class Afterwards {
        GiveUp, ///< ended() is called once
        GoOn,   ///< ended(false) may be followed by more of them, and by ended(true) as soon as everything is answered
    };

    struct Inquiry {
        Question question;
        Milliseconds patience;
        Afterwards afterwards = Afterwards::GiveUp;
        Ended ended;
    };

    using Ticket = std::shared_ptr<void>;

    /// A request that is under way for so long is taken for one that hangs.
    static constexpr Milliseconds hanging = std::chrono::seconds(2);

    /// `asks` answers one question and may wait; it is called on the mounts' threads.
    explicit Lookout(std::function<DiskAnswer(const DiskQuestion &)> asks = &answerOf);
    ~Lookout() override;

    /// Returns at once. The disks are asked after this moment, never before.
    Ticket ask(Inquiry inquiry);
    /// Its end won't be told any more. What is under way on the disk is not ended by that.
    void drop(const Ticket &ticket);
    /// How many inquiries are under way that give up in the end.
    std::size_t waiting() const;

  private:
    struct Task;
    struct Worker;
    using MountKey = std::pair<int, std::filesystem::path>;

    std::shared_ptr<Worker> workerFor(const std::filesystem::path &path, const MountTable &mounts);
    bool isHanging(const std::filesystem::path &path, const MountTable &mounts) const;
    bool onlyHangingOnesAreMissing(const Task &task, const GatheredDisk &disk) const;
    void proceed(const std::shared_ptr<Task> &task);
    void enqueue(const std::shared_ptr<Task> &task, const DiskQuestion &question);
    void askNext(const std::shared_ptr<Worker> &worker);
    void answered(const std::shared_ptr<Worker> &worker, const std::shared_ptr<Task> &task,
                  const DiskQuestion &question, const DiskAnswer &answer);
    void patienceIsOver(const std::shared_ptr<Task> &task);
    void tellGuess(const std::shared_ptr<Task> &task);
    void end(const std::shared_ptr<Task> &task, bool isAnswered);
    void dismissIdleWorkers();

    std::function<DiskAnswer(const DiskQuestion &)> asker;
    std::vector<std::shared_ptr<Task>> tasks;
    std::map<MountKey, std::shared_ptr<Worker>> workers;
    DiskAnswers known; ///< the last ones of inquiries that go on: better than nothing where a mount is merely slow
};
