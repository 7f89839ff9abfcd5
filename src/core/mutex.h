#ifndef VELMIO_CORE_MUTEX_H_
#define VELMIO_CORE_MUTEX_H_

#include <mutex>

// Clang checks with -Wthread-safety which data each lock guards; other
// compilers read these as nothing.
#if defined(__clang__)
#define VELM_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VELM_THREAD_ANNOTATION(x)
#endif
#define VELM_CAPABILITY(name) VELM_THREAD_ANNOTATION(capability(name))
#define VELM_SCOPED_CAPABILITY VELM_THREAD_ANNOTATION(scoped_lockable)
#define VELM_GUARDED_BY(lock) VELM_THREAD_ANNOTATION(guarded_by(lock))
#define VELM_REQUIRES(...) VELM_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define VELM_ACQUIRE(...) VELM_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define VELM_RELEASE(...) VELM_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

namespace velm::io {

class VELM_CAPABILITY("mutex") Mutex {
 public:
  void Lock() VELM_ACQUIRE() { mutex_.lock(); }
  void Unlock() VELM_RELEASE() { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

class VELM_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) VELM_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~MutexLock() VELM_RELEASE() { mutex_.Unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace velm::io

#endif  // VELMIO_CORE_MUTEX_H_
