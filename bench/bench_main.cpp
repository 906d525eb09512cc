// Entry point of every benchmark binary: single thread, Google Benchmark.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
