// A mutex that clang's thread-safety analysis understands: what is marked QVX_GUARDED_BY a mutex is touched only while
// that is held, or the analysis fails. GCC sees plain std::mutex.
#pragma once

#include <mutex>

#if defined(__clang__)
#define QVX_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define QVX_THREAD_SAFETY(attribute)
#endif
// Of a member: which mutex guards it.
#define QVX_GUARDED_BY(mutex) QVX_THREAD_SAFETY(guarded_by(mutex))
// Of a function or a lambda: the caller holds the mutex.
#define QVX_REQUIRES(mutex) QVX_THREAD_SAFETY(requires_capability(mutex))
// Of a function: the caller must not hold the mutex, which is taken in it.
#define QVX_EXCLUDES(mutex) QVX_THREAD_SAFETY(locks_excluded(mutex))
// Of a function that hands locks about in ways that the analysis cannot follow.
#define QVX_UNCHECKED QVX_THREAD_SAFETY(no_thread_safety_analysis)

namespace qvx {

class QVX_THREAD_SAFETY(capability("mutex")) Mutex {
 public:
  void lock() QVX_THREAD_SAFETY(acquire_capability()) { mutex_.lock(); }
  void unlock() QVX_THREAD_SAFETY(release_capability()) { mutex_.unlock(); }
  bool try_lock() QVX_THREAD_SAFETY(try_acquire_capability(true)) { return mutex_.try_lock(); }
  // For the analysis: the mutex is held, although it cannot see that.
  void assertHeld() const QVX_THREAD_SAFETY(assert_capability()) {}

 private:
  friend class Lock;
  std::mutex mutex_;
};

// Holds a mutex while it lives, except between unlock() and lock().
class QVX_THREAD_SAFETY(scoped_lockable) Lock {
 public:
  explicit Lock(Mutex& mutex) QVX_THREAD_SAFETY(acquire_capability(mutex)) : lock_(mutex.mutex_) {}
  // Takes over a mutex that the caller holds.
  Lock(Mutex& mutex, std::adopt_lock_t adopt) QVX_REQUIRES(mutex) : lock_(mutex.mutex_, adopt) {}
  ~Lock() QVX_THREAD_SAFETY(release_capability()) {}
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  void lock() QVX_THREAD_SAFETY(acquire_capability()) { lock_.lock(); }
  void unlock() QVX_THREAD_SAFETY(release_capability()) { lock_.unlock(); }
  // For std::condition_variable.
  std::unique_lock<std::mutex>& inner() { return lock_; }

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace qvx
