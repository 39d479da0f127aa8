// The daemon's mutex and its scoped hold, on the C library's threads alone: the daemon
// links no C++ runtime, so nothing here throws or needs one. A Mutex is constant-
// initialised (usable from static storage before main); a hold may hold none.
#ifndef CAMRCD_PLATFORM_MUTEX_H_
#define CAMRCD_PLATFORM_MUTEX_H_

#include <pthread.h>

namespace camrcd {

class Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() { pthread_mutex_lock(&mutex_); }
  void unlock() { pthread_mutex_unlock(&mutex_); }
  bool try_lock() { return pthread_mutex_trylock(&mutex_) == 0; }

 private:
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a mutex from its construction (or the move that gives it one) until its
// destruction or the next assignment. A default-constructed hold holds none.
class MutexHold {
 public:
  MutexHold() = default;
  explicit MutexHold(Mutex& mutex) : mutex_(&mutex) { mutex.lock(); }
  MutexHold(MutexHold&& other) : mutex_(other.mutex_) { other.mutex_ = nullptr; }
  MutexHold& operator=(MutexHold&& other) {
    if (this != &other) {
      release();
      mutex_ = other.mutex_;
      other.mutex_ = nullptr;
    }
    return *this;
  }
  MutexHold(const MutexHold&) = delete;
  MutexHold& operator=(const MutexHold&) = delete;
  ~MutexHold() { release(); }

 private:
  void release() {
    if (mutex_ != nullptr)
      mutex_->unlock();
    mutex_ = nullptr;
  }

  Mutex* mutex_ = nullptr;
};

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_MUTEX_H_
