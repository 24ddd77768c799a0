#include "platform/Lookout.h"

#include "base/MainThread.h"
#include "base/SerialQueue.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <deque>
#include <utility>

namespace {

std::pair<int, std::filesystem::path> keyOf(const std::filesystem::path &path, const MountTable &mounts) {
    const MountEntry *mount = mounts.covering(path);
    return mount ? std::pair(mount->id, mount->mountPoint) : std::pair(0, std::filesystem::path());
}

} // namespace

/// One inquiry under way.
struct Lookout::Task {
    explicit Task(Inquiry begun) : inquiry(std::move(begun)) {}

    const Inquiry inquiry;
    const MountTable mounts = MountTable::read();
    DiskAnswers answers;
    std::set<DiskQuestion> asked;
    QTimer patience;
    bool isOver = false; ///< the patience
    bool isLive = true;
};

/// The thread of one mount.
struct Lookout::Worker {
    SerialQueue queue;
    std::deque<std::pair<std::shared_ptr<Task>, DiskQuestion>> waiting;
    bool isBusy = false;
    QElapsedTimer busySince;
};

Lookout::Lookout(std::function<DiskAnswer(const DiskQuestion &)> asks) : asker(std::move(asks)) {
}

Lookout::~Lookout() = default;

Lookout::Ticket Lookout::ask(Inquiry inquiry) {
    const auto task = std::make_shared<Task>(std::move(inquiry));
    tasks.push_back(task);
    const auto ifLive = [this, weak = std::weak_ptr(task)](void (Lookout::*act)(const std::shared_ptr<Task> &)) {
        return [this, weak, act] {
            if (const auto live = weak.lock(); live && live->isLive)
                (this->*act)(live);
        };
    };
    task->patience.setSingleShot(true);
    connect(&task->patience, &QTimer::timeout, this, ifLive(&Lookout::patienceIsOver));
    task->patience.start(task->inquiry.patience);
    QMetaObject::invokeMethod(this, ifLive(&Lookout::proceed), Qt::QueuedConnection);
    return task;
}

void Lookout::drop(const Ticket &ticket) {
    const auto task = std::static_pointer_cast<Task>(ticket);
    if (!task)
        return;
    task->isLive = false;
    task->patience.stop();
    std::erase(tasks, task);
    for (const auto &[key, worker] : workers)
        std::erase_if(worker->waiting, [&](const auto &waiting) { return waiting.first == task; });
    dismissIdleWorkers();
}

std::size_t Lookout::waiting() const {
    return static_cast<std::size_t>(std::count_if(tasks.begin(), tasks.end(), [](const std::shared_ptr<Task> &task) {
        return task->inquiry.afterwards == Afterwards::GiveUp;
    }));
}

std::shared_ptr<Lookout::Worker> Lookout::workerFor(const std::filesystem::path &path, const MountTable &mounts) {
    std::shared_ptr<Worker> &worker = workers[keyOf(path, mounts)];
    if (!worker)
        worker = std::make_shared<Worker>();
    return worker;
}

bool Lookout::isHanging(const std::filesystem::path &path, const MountTable &mounts) const {
    const auto found = workers.find(keyOf(path, mounts));
    return found != workers.end() && found->second->isBusy &&
           found->second->busySince.hasExpired(hanging.count() - 1); // a timer may come a moment early
}

bool Lookout::onlyHangingOnesAreMissing(const Task &task, const GatheredDisk &disk) const {
    return std::all_of(disk.missing().begin(), disk.missing().end(),
                       [&](const DiskQuestion &question) { return isHanging(question.path, task.mounts); });
}

void Lookout::proceed(const std::shared_ptr<Task> &task) {
    GatheredDisk disk(task->mounts, task->answers);
    const bool holds = task->inquiry.question(disk);
    if (disk.missing().empty() || holds)
        return end(task, true);
    for (const DiskQuestion &question : disk.missing())
        enqueue(task, question);
    // Nobody waits two seconds more for what is known to hang.
    if (task->inquiry.afterwards == Afterwards::GoOn && !task->isOver && onlyHangingOnesAreMissing(*task, disk))
        patienceIsOver(task);
}

void Lookout::enqueue(const std::shared_ptr<Task> &task, const DiskQuestion &question) {
    if (!task->asked.insert(question).second)
        return;
    const std::shared_ptr<Worker> worker = workerFor(question.path, task->mounts);
    worker->waiting.emplace_back(task, question);
    if (!worker->isBusy)
        askNext(worker);
}

void Lookout::askNext(const std::shared_ptr<Worker> &worker) {
    if (worker->waiting.empty())
        return;
    const auto [task, question] = std::move(worker->waiting.front());
    worker->waiting.pop_front();
    worker->isBusy = true;
    worker->busySince.start();
    // The thread owns nothing of this: it may hang for longer than anything here lives.
    worker->queue.post([self = QPointer(this), ask = asker, worker = std::weak_ptr(worker), task = std::weak_ptr(task),
                        question = question] {
        MainThread::post([self, worker, task, question, answer = ask(question)] {
            if (const auto live = worker.lock(); self && live)
                self->answered(live, task.lock(), question, answer);
        });
    });
}

void Lookout::answered(const std::shared_ptr<Worker> &worker, const std::shared_ptr<Task> &task,
                       const DiskQuestion &question, const DiskAnswer &answer) {
    worker->isBusy = false;
    // What depends on several answers can only be asked once all of them are there.
    const bool hasMore = std::any_of(worker->waiting.begin(), worker->waiting.end(),
                                     [&](const auto &waiting) { return waiting.first == task; });
    askNext(worker);
    if (task && task->isLive) {
        task->answers.insert_or_assign(question, answer);
        if (task->inquiry.afterwards == Afterwards::GoOn)
            known.insert_or_assign(question, answer);
        if (!hasMore)
            proceed(task);
    }
    dismissIdleWorkers();
}

void Lookout::patienceIsOver(const std::shared_ptr<Task> &task) {
    task->isOver = true;
    if (task->inquiry.afterwards == Afterwards::GoOn)
        return tellGuess(task);
    GatheredDisk disk(task->mounts, task->answers);
    task->inquiry.question(disk);
    end(task, false);
}

/// What a mount that is merely slow has not answered yet is taken to be as it was.
void Lookout::tellGuess(const std::shared_ptr<Task> &task) {
    GatheredDisk sure(task->mounts, task->answers);
    task->inquiry.question(sure);
    if (!onlyHangingOnesAreMissing(*task, sure))
        task->patience.start(hanging); // by then they may hang, too
    DiskAnswers answers = task->answers;
    for (const auto &[question, answer] : known) {
        if (!isHanging(question.path, task->mounts))
            answers.emplace(question, answer);
    }
    GatheredDisk disk(task->mounts, answers);
    task->inquiry.question(disk);
    task->inquiry.ended(false);
}

void Lookout::end(const std::shared_ptr<Task> &task, bool isAnswered) {
    if (task->inquiry.afterwards == Afterwards::GoOn)
        known = task->answers;
    drop(task);
    task->inquiry.ended(isAnswered);
}

/// Without anything to do there are no threads.
void Lookout::dismissIdleWorkers() {
    if (tasks.empty())
        std::erase_if(workers, [](const auto &entry) { return !entry.second->isBusy; });
}
