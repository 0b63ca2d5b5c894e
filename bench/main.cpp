// Benchmarks of the parts that users wait for. Names are stable; each reports a rate, and peers
// and physical limits are measured in the same run under names that end in the peer's name.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
