// A stroke that is being painted, as a tool holds it. The session's side of it renders the dabs,
// shows what has been painted and makes one history entry at the end. Main thread.
#pragma once

#include "Core/DocumentState.h"

#include <functional>
#include <span>

namespace ombrel {

struct BrushDab;
struct StrokeCoverage;
struct StrokeStyle;

class StrokeHandle {
public:
    /// Gets the coverage of the whole stroke, or null where it could not be had.
    using Finalizer = std::move_only_function<DocumentState(DocumentState, const StrokeCoverage*)>;

    StrokeHandle() = default;
    virtual ~StrokeHandle() = default;
    StrokeHandle(const StrokeHandle&) = delete;
    StrokeHandle& operator=(const StrokeHandle&) = delete;

    virtual void extend(std::span<const BrushDab> dabs) = 0;
    /// Commits what was painted, or nothing where nothing was.
    virtual void end() = 0;
    /// Ends the stroke, too; the finalizer then makes the state that is committed.
    virtual void setFinalizer(Finalizer finalizer) = 0;
};

} // namespace ombrel
