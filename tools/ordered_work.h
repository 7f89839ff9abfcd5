// Work on every core, results in order: make(i) runs on worker threads for i
// in [0, count), at most window items ahead of the caller, who gets each
// result through use(i, result) in the order of i on its own thread. Workers
// also wait while the results made and not yet used weigh budget or more, so
// that memory stays near budget plus one result per thread. The library
// starts no threads; the tool may.
#ifndef VELMIO_TOOLS_ORDERED_WORK_H_
#define VELMIO_TOOLS_ORDERED_WORK_H_

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tool {

// False when use gave false; an exception of make comes out of the call.
template <typename Result>
bool RunInOrder(size_t count, size_t window, uint64_t budget,
                const std::function<Result(size_t)>& make,
                const std::function<uint64_t(const Result&)>& weight,
                const std::function<bool(size_t, Result&)>& use) {
  struct Slot {
    bool done = false;
    Result result{};
    uint64_t weight = 0;
    std::exception_ptr error;
  };
  std::vector<Slot> slots(count);
  std::mutex mutex;
  std::condition_variable ready, room;
  size_t next = 0, used = 0;
  uint64_t waiting = 0;  // weight of the results made and not yet used
  bool stop = false;
  auto work = [&] {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      room.wait(lock, [&] {
        return stop || next == count || (next < used + window && waiting < budget);
      });
      if (stop || next == count) return;
      const size_t i = next++;
      lock.unlock();
      Slot made;
      try {
        made.result = make(i);
      } catch (...) {
        made.error = std::current_exception();
      }
      made.weight = made.error ? 0 : weight(made.result);
      lock.lock();
      waiting += made.weight;
      slots[i].weight = made.weight;
      slots[i].result = std::move(made.result);
      slots[i].error = made.error;
      slots[i].done = true;
      ready.notify_all();
    }
  };
  const size_t threads =
      std::max<size_t>(1, std::min<size_t>(std::thread::hardware_concurrency(), count));
  std::vector<std::thread> workers;
  for (size_t t = 0; t < threads; ++t) workers.emplace_back(work);
  bool ok = true;
  std::exception_ptr error;
  for (size_t i = 0; i < count && ok && !error; ++i) {
    std::unique_lock<std::mutex> lock(mutex);
    ready.wait(lock, [&] { return slots[i].done; });
    Result result = std::move(slots[i].result);
    error = slots[i].error;
    waiting -= slots[i].weight;
    slots[i] = Slot();
    ++used;
    room.notify_all();
    lock.unlock();
    if (!error) ok = use(i, result);
  }
  {
    std::lock_guard<std::mutex> lock(mutex);
    stop = true;
  }
  room.notify_all();
  for (std::thread& worker : workers) worker.join();
  if (error) std::rethrow_exception(error);
  return ok;
}

}  // namespace tool

#endif  // VELMIO_TOOLS_ORDERED_WORK_H_
