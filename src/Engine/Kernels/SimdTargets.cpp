#include "Engine/Kernels/SimdTargets.h"

#include <hwy/highway.h>

namespace ombrel::Kernels {

std::vector<SimdTarget> simdTargets() {
    std::vector<SimdTarget> targets;
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets())
        targets.push_back({hwy::TargetName(target), target});
    return targets;
}

SimdTargetOverride::SimdTargetOverride(const SimdTarget& target) {
    hwy::SetSupportedTargetsForTest(target.bits);
    hwy::GetChosenTarget().Update(target.bits);
}

SimdTargetOverride::~SimdTargetOverride() {
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().DeInit();
}

} // namespace ombrel::Kernels
