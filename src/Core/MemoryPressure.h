// Tells when the system runs short of memory, so that the tile store can give some back. On Linux
// from pressure stall information: the kernel wakes us when tasks wait for memory too long.
#pragma once

#include <functional>
#include <memory>

namespace ombrel {

enum class MemoryPressure {
    warning,  ///< some tasks stand still for want of memory
    critical, ///< all of them do
};

class MemoryPressureSource {
public:
    using Handler = std::function<void(MemoryPressure)>;

    /// Stops; the handler is not running any more when the destructor returns. Never destroyed by
    /// the handler.
    virtual ~MemoryPressureSource() = default;

    /// Once, before anything is reported. The handler is called on a thread of the source's own.
    virtual void start(Handler handler) = 0;

    /// Null where the kernel has no such source or does not let us use it.
    static std::unique_ptr<MemoryPressureSource> ofSystem();
};

} // namespace ombrel
