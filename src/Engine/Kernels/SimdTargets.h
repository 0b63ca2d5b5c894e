// The instruction sets that the kernels were compiled for and this processor can run. The best one
// is chosen by itself; tests go through all of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ombrel::Kernels {

struct SimdTarget {
    std::string name; ///< "AVX2"
    std::int64_t bits = 0;
};

/// Best first.
std::vector<SimdTarget> simdTargets();

/// Makes all kernels of the process use one target for a scope. For tests and benchmarks, while no
/// kernel runs.
class SimdTargetOverride {
public:
    explicit SimdTargetOverride(const SimdTarget& target);
    ~SimdTargetOverride();
    SimdTargetOverride(const SimdTargetOverride&) = delete;
    SimdTargetOverride& operator=(const SimdTargetOverride&) = delete;
};

} // namespace ombrel::Kernels
