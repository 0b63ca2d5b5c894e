// Locks that clang's thread-safety analysis understands, and the words to annotate with. A class
// groups the members that a lock guards under that lock and marks each with OMBREL_GUARDED_BY;
// functions that expect the lock to be held say OMBREL_REQUIRES. With other compilers the words
// mean nothing and the classes are std::mutex, its guards and std::condition_variable.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define OMBREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define OMBREL_THREAD_ATTRIBUTE(x)
#endif

/// On a member: read and written only with the lock held.
#define OMBREL_GUARDED_BY(...) OMBREL_THREAD_ATTRIBUTE(guarded_by(__VA_ARGS__))
/// On a pointer member: what it points at is guarded, the pointer itself is not.
#define OMBREL_POINTEE_GUARDED_BY(...) OMBREL_THREAD_ATTRIBUTE(pt_guarded_by(__VA_ARGS__))
/// On a function: the caller holds the lock.
#define OMBREL_REQUIRES(...) OMBREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// On a function: the caller does not hold the lock, because the function takes it.
#define OMBREL_EXCLUDES(...) OMBREL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// On a function: takes or gives back the lock.
#define OMBREL_ACQUIRE(...) OMBREL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define OMBREL_TRY_ACQUIRE(...) OMBREL_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define OMBREL_RELEASE(...) OMBREL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// On a lock member: always taken after (or before) another one.
#define OMBREL_ACQUIRED_AFTER(...) OMBREL_THREAD_ATTRIBUTE(acquired_after(__VA_ARGS__))
#define OMBREL_ACQUIRED_BEFORE(...) OMBREL_THREAD_ATTRIBUTE(acquired_before(__VA_ARGS__))
/// On a class: a lock, or a guard that holds one for its scope.
#define OMBREL_CAPABILITY(name) OMBREL_THREAD_ATTRIBUTE(capability(name))
#define OMBREL_SCOPED_CAPABILITY OMBREL_THREAD_ATTRIBUTE(scoped_lockable)
/// On a function whose locking the analysis cannot follow. Say why beside it.
#define OMBREL_NO_THREAD_SAFETY_ANALYSIS OMBREL_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace ombrel {

class OMBREL_CAPABILITY("mutex") Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() OMBREL_ACQUIRE() { mutex_.lock(); }
    bool try_lock() OMBREL_TRY_ACQUIRE(true) { return mutex_.try_lock(); }
    void unlock() OMBREL_RELEASE() { mutex_.unlock(); }

private:
    friend class Condition;
    std::mutex mutex_;
};

/// Holds the lock for its scope.
class OMBREL_SCOPED_CAPABILITY LockGuard {
public:
    explicit LockGuard(Mutex& mutex) OMBREL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~LockGuard() OMBREL_RELEASE() { mutex_.unlock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    Mutex& mutex_;
};

/// Holds the lock for its scope, and can leave it in between to call out or to do slow work.
class OMBREL_SCOPED_CAPABILITY UniqueLock {
public:
    explicit UniqueLock(Mutex& mutex) OMBREL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~UniqueLock() OMBREL_RELEASE() {
        if (isHeld_) mutex_.unlock();
    }
    UniqueLock(const UniqueLock&) = delete;
    UniqueLock& operator=(const UniqueLock&) = delete;

    void lock() OMBREL_ACQUIRE() {
        mutex_.lock();
        isHeld_ = true;
    }
    void unlock() OMBREL_RELEASE() {
        isHeld_ = false;
        mutex_.unlock();
    }

private:
    Mutex& mutex_;
    bool isHeld_ = true;
};

/// A condition variable for Mutex. Wait in a loop over the condition, so that the analysis sees
/// the guarded members read under the lock.
class Condition {
public:
    /// Leaves the lock, sleeps, and takes it again. May wake for no reason.
    void wait(Mutex& mutex) OMBREL_REQUIRES(mutex) {
        std::unique_lock lock(mutex.mutex_, std::adopt_lock);
        variable_.wait(lock);
        lock.release();
    }
    /// False when the time came first.
    template <typename Clock, typename Duration>
    bool waitUntil(Mutex& mutex, const std::chrono::time_point<Clock, Duration>& time)
        OMBREL_REQUIRES(mutex) {
        std::unique_lock lock(mutex.mutex_, std::adopt_lock);
        const std::cv_status status = variable_.wait_until(lock, time);
        lock.release();
        return status == std::cv_status::no_timeout;
    }
    void notifyOne() { variable_.notify_one(); }
    void notifyAll() { variable_.notify_all(); }

private:
    std::condition_variable variable_;
};

} // namespace ombrel
