#ifndef PARLAVOX_UTIL_MUTEX_H_
#define PARLAVOX_UTIL_MUTEX_H_

#include <mutex>

// Clang's thread-safety analysis (-Wthread-safety) checks these; other compilers
// ignore them. Built with clang, every source is analysed and a fault is an error.
#if defined(__clang__)
#define PARLAVOX_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define PARLAVOX_THREAD_ANNOTATION(x)
#endif
#define CAPABILITY(x) PARLAVOX_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY PARLAVOX_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) PARLAVOX_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) PARLAVOX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) PARLAVOX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) PARLAVOX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) PARLAVOX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ASSERT_CAPABILITY(x) PARLAVOX_THREAD_ANNOTATION(assert_capability(x))

namespace parlavox {

// A mutex the analysis knows: data marked GUARDED_BY it may be touched only while it
// is held, and functions marked REQUIRES it only be called so.
class CAPABILITY("mutex") Mutex {
 public:
  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }
  // Tells the analysis what the code knows: the mutex is held here (in a condition
  // variable's predicate, say).
  void AssertHeld() const ASSERT_CAPABILITY(this) {}

 private:
  std::mutex mutex_;
};

// Holds a Mutex for as long as it lives. A condition variable (std::condition_variable_any)
// may let go of it and take it back while it waits.
class SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }

 private:
  Mutex& mutex_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_MUTEX_H_
