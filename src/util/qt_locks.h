// Qt's locks with what ThreadSanitizer must be told of them: Qt itself is not built with it, so that an
// ordering made inside Qt would stay unseen and be reported as a race. Use these wherever a Qt lock guards
// data; where the kind of lock is free, std::mutex needs none of this.
#pragma once

#include <QtCore/QDeadlineTimer>
#include <QtCore/QMutex>
#include <QtCore/QReadWriteLock>
#include <QtCore/QWaitCondition>

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>

extern "C" void __tsan_ignore_thread_begin();
extern "C" void __tsan_ignore_thread_end();
#endif

namespace util {

// All that was done before happensBefore(x) in one thread is seen after the next happensAfter(x) in another.
inline void happensAfter([[maybe_unused]] void* object) {
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(object);
#endif
}

inline void happensBefore([[maybe_unused]] void* object) {
#if defined(__SANITIZE_THREAD__)
    __tsan_release(object);
#endif
}

// Holds a QMutex for a scope.
class ScopedMutex {
public:
    explicit ScopedMutex(QMutex& mutex) : m_mutex(mutex) {
        m_mutex.lock();
        happensAfter(&m_mutex);
    }
    ~ScopedMutex() {
        happensBefore(&m_mutex);
        m_mutex.unlock();
    }
    ScopedMutex(const ScopedMutex&) = delete;
    ScopedMutex& operator=(const ScopedMutex&) = delete;

private:
    QMutex& m_mutex;
};

// Waits for a condition with `mutex` held, which is released meanwhile; false when the deadline passed.
inline bool waitFor(QWaitCondition& condition, QMutex& mutex, const QDeadlineTimer& deadline) {
    happensBefore(&mutex);
#if defined(__SANITIZE_THREAD__) && QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    // QMutex tells the sanitizer of its locking in its header; what the condition does to it stays inside Qt.
    __tsan_mutex_pre_unlock(&mutex, 0);
    __tsan_mutex_post_unlock(&mutex, 0);
#endif
    const bool woken = condition.wait(&mutex, deadline);
#if defined(__SANITIZE_THREAD__) && QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    __tsan_mutex_pre_lock(&mutex, 0);
    __tsan_mutex_post_lock(&mutex, 0, 0);
#endif
    happensAfter(&mutex);
    return woken;
}

// Keeps the sanitizer from looking at what Qt does inside a call: a QReadWriteLock that is waited for shares
// a record between its users through atomics that the sanitizer cannot see.
class InsideQt {
public:
#if defined(__SANITIZE_THREAD__)
    InsideQt() {
        __tsan_ignore_thread_begin();
    }
    ~InsideQt() {
        __tsan_ignore_thread_end();
    }
#else
    InsideQt() {}
#endif
    InsideQt(const InsideQt&) = delete;
    InsideQt& operator=(const InsideQt&) = delete;
};

// Exclusive use of a QReadWriteLock. A time-out of 0 milliseconds waits without limit.
inline bool lockForWrite(QReadWriteLock& lock, unsigned timeoutMs = 0) {
    {
        const InsideQt quiet;
        if (timeoutMs == 0) {
            lock.lockForWrite();
        } else if (!lock.tryLockForWrite(static_cast<int>(timeoutMs))) {
            return false;
        }
    }
    happensAfter(&lock);
    return true;
}

inline void unlock(QReadWriteLock& lock) {
    happensBefore(&lock);
    const InsideQt quiet;
    lock.unlock();
}

} // namespace util
