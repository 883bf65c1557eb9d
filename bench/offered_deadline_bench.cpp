// Cost of the binding's offered-deadline bookkeeping for a keyed writer of many instances,
// as `-useKeys N -sendPeriod 0.00001` drives it: the instances are written round robin, 10 us
// apart, with a deadline of N * 10 us, so that each instance misses its deadline at its own
// time. Measured: a write (with the watch thread's look for the next miss), and a miss (the
// watch thread waking for one instance due). Prints nanoseconds per operation; asserts
// nothing.
//   offered_deadline_bench [INSTANCES [OPERATIONS]]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "workarounds/offered_deadline.h"

namespace {

using Clock = qordds::OfferedDeadline::Clock;

DDS_InstanceHandle_t instance(long key) {
    DDS_InstanceHandle_t handle;
    std::memcpy(handle.value, &key, sizeof key);
    handle.isValid = true;
    return handle;
}

}  // namespace

int main(int argc, char** argv) {
    long instances = argc > 1 ? std::atol(argv[1]) : 100000;
    long operations = argc > 2 ? std::atol(argv[2]) : 20000;
    if (instances <= 0 || operations <= 0) {
        std::fprintf(stderr, "usage: offered_deadline_bench [INSTANCES [OPERATIONS]]\n");
        return 2;
    }
    const std::chrono::microseconds step(10);
    qordds::OfferedDeadline deadline(step * instances);
    Clock::time_point now = Clock::now();
    for (long i = 0; i < instances; ++i) {
        now += step;
        deadline.written(instance(i), now);
    }

    Clock::time_point when;
    auto start = Clock::now();
    for (long i = 0; i < operations; ++i) {
        now += step;
        deadline.written(instance(i % instances), now);
        deadline.next_miss(&when);
    }
    std::chrono::duration<double, std::nano> writing = Clock::now() - start;

    // Silence: the instances miss one by one, each at its own time.
    long misses = 0;
    start = Clock::now();
    for (long i = 0; i < operations; ++i) {
        if (deadline.next_miss(&when)) {
            misses += static_cast<long>(deadline.expire(when).size());
        }
    }
    std::chrono::duration<double, std::nano> missing = Clock::now() - start;
    std::printf("%ld instances: %.1f ns per write, %.1f ns per miss (%ld writes, %ld misses)\n",
                instances, writing.count() / static_cast<double>(operations),
                missing.count() / static_cast<double>(misses > 0 ? misses : 1), operations, misses);
    return 0;
}
