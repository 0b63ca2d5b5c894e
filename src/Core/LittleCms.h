// Handles of Little CMS that free themselves. Every handle belongs to a context of its own making
// that stays silent: damaged profiles are ordinary input, reported by values. A context and what
// is made in it are used by one thread at a time; a transform made with cmsFLAGS_NOCACHE may be
// run by many.
#pragma once

#include <lcms2.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace ombrel::LittleCms {

struct Deleter {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
    void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
};
struct ContextDeleter {
    void operator()(void* context) const { cmsDeleteContext(static_cast<cmsContext>(context)); }
};
struct TransformDeleter {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};

using Context = std::unique_ptr<void, ContextDeleter>;
using Profile = std::unique_ptr<void, Deleter>;
using Curve = std::unique_ptr<cmsToneCurve, Deleter>;
using Transform = std::unique_ptr<void, TransformDeleter>;

inline cmsContext handleOf(const Context& context) {
    return static_cast<cmsContext>(context.get());
}

inline Context makeContext() {
    Context context(cmsCreateContext(nullptr, nullptr));
    if (context != nullptr) {
        cmsSetLogErrorHandlerTHR(handleOf(context),
                                 [](cmsContext, cmsUInt32Number, const char*) {});
    }
    return context;
}

/// What a profile's header says of itself, as a number: the library hands it out as an enumerated
/// type, which must not hold what a damaged file may. Of data that opened as a profile.
enum class HeaderField : std::size_t { colorSpace = 16, connectionSpace = 20 };

inline std::uint32_t signatureOf(std::span<const std::byte> iccData, HeaderField field) {
    std::uint32_t signature = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::byte byte = iccData[static_cast<std::size_t>(field) + i];
        signature = signature << 8 | std::to_integer<std::uint32_t>(byte);
    }
    return signature;
}

/// Null when the data are no profile. `iccData` must outlive the profile.
inline Profile openProfile(const Context& context, std::span<const std::byte> iccData) {
    if (context == nullptr || iccData.size() < 128 || iccData.size() > 0x7FFFFFFF) return nullptr;
    return Profile(cmsOpenProfileFromMemTHR(handleOf(context), iccData.data(),
                                            static_cast<cmsUInt32Number>(iccData.size())));
}

} // namespace ombrel::LittleCms
