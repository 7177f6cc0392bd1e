#include "util/late_release.h"

#include "util/qt_locks.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QObject>

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace util {
namespace {

constexpr std::size_t kMostKept = 16;

struct Kept {
    std::mutex lock;
    std::shared_ptr<void> object;

    std::shared_ptr<void> take() {
        const std::lock_guard guard(lock);
        return std::exchange(object, nullptr);
    }
};

// Events of one thread come in their order, so this one comes behind the signals; delivered or dropped with
// its thread, it lets go of what it keeps.
class KeepingEvent : public QEvent {
public:
    explicit KeepingEvent(std::shared_ptr<Kept> kept) : QEvent(eventType()), m_kept(std::move(kept)) {
        happensBefore(this); // of the thread that takes it from Qt's queue
    }
    ~KeepingEvent() override { happensAfter(this); }

private:
    static Type eventType() {
        static const int type = registerEventType();
        return static_cast<Type>(type);
    }

    std::shared_ptr<Kept> m_kept;
};

struct Threads {
    std::mutex lock;
    std::vector<QObject*> receivers; // one a thread
    std::deque<std::weak_ptr<Kept>> kept;
};

// Never destroyed: threads may end after main().
Threads& threads() {
    static auto* const all = new Threads;
    return *all;
}

class Receiver : public QObject {
public:
    Receiver() {
        const std::lock_guard guard(threads().lock);
        threads().receivers.push_back(this);
    }
    ~Receiver() override {
        const std::lock_guard guard(threads().lock);
        std::erase(threads().receivers, this);
    }
};

} // namespace

void expectQueuedSignals() {
    thread_local const Receiver receiver;
    static_cast<void>(receiver);
}

void releaseAfterQueuedSignals(std::shared_ptr<void> object) {
    const auto kept = std::make_shared<Kept>();
    kept->object = std::move(object);
    std::vector<std::shared_ptr<void>> excess; // declared before the lock: released after it
    const std::lock_guard guard(threads().lock);
    std::vector<QObject*> receivers = threads().receivers;
    if (QObject* const application = QCoreApplication::instance()) {
        receivers.push_back(application);
    }
    for (QObject* const receiver : receivers) {
        QCoreApplication::postEvent(receiver, new KeepingEvent(kept));
    }
    auto& all = threads().kept;
    std::erase_if(all, [](const auto& one) { return one.expired(); });
    all.push_back(kept);
    for (; all.size() > kMostKept; all.pop_front()) {
        if (const auto oldest = all.front().lock()) {
            excess.push_back(oldest->take());
        }
    }
}

} // namespace util
