// Cost of the generic serializer on the keyed ping sample: serialize, deserialize and key
// hash, in nanoseconds per operation. Prints one line per operation; asserts nothing.
//   serializer_bench [ITERATIONS]
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "kestping/pingData.h"
#include "qordds/typecode.h"

namespace {

template <class Operation>
void measure(const char* name, long iterations, Operation operation) {
    auto start = std::chrono::steady_clock::now();
    long failures = 0;
    for (long i = 0; i < iterations; ++i) {
        failures += operation(i) ? 0 : 1;
    }
    std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    std::printf("%-28s %8.1f ns/op  (%ld iterations, %ld failures)\n", name,
                elapsed.count() / static_cast<double>(iterations), iterations, failures);
}

}  // namespace

int main(int argc, char** argv) {
    long iterations = argc > 1 ? std::atol(argv[1]) : 5000000;
    if (iterations <= 0) {
        std::fprintf(stderr, "usage: serializer_bench [ITERATIONS]\n");
        return 2;
    }
    const DDS_TypeCode* type = KestKeyedPingData_get_typecode();
    KestKeyedPingData sample = {1, 7};
    char buffer[64];
    unsigned int length = sizeof buffer;
    DDS_TypeCode_serialize(type, &sample, DDS_CDR_ENCODING_DEFAULT, buffer, &length);
    const unsigned int serialized_length = length;
    volatile int32_t sink = 0;

    measure("serialize XCDR1", iterations, [&](long i) {
        sample.number = static_cast<int32_t>(i);
        unsigned int capacity = sizeof buffer;
        return DDS_TypeCode_serialize(type, &sample, DDS_CDR_ENCODING_DEFAULT, buffer, &capacity);
    });
    measure("deserialize XCDR1", iterations, [&](long) {
        KestKeyedPingData out;
        bool ok = DDS_TypeCode_deserialize(type, &out, buffer, serialized_length, false);
        sink = out.number;
        return ok;
    });
    measure("key hash", iterations, [&](long i) {
        sample.key = static_cast<int32_t>(i);
        DDS_KeyHash_t hash;
        bool ok = DDS_TypeCode_get_keyhash(type, &sample, &hash);
        sink = hash.value[3];
        return ok;
    });
    (void)sink;
    return 0;
}
