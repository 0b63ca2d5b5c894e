// The settings of one brush-like tool, observable: the options bar, the brush panel and the keys
// all work on the same object. What is set is brought into range. Main thread.
#pragma once

#include "Base/Observable.h"
#include "Tools/BrushForms.h"
#include "Tools/PaintingSettings.h"

#include <concepts>
#include <functional>
#include <optional>

namespace ombrel {

class BrushOptions final : public PaintingSettings {
public:
    /// Null for a tip that nobody knows.
    using FindTip = std::function<SharedBrushTip(const Uuid&)>;

    explicit BrushOptions(BrushSettings settings = {}) : settings_(std::move(settings)) {}

    const BrushSettings& get() const { return *settings_; }
    const BrushSettings* operator->() const { return &*settings_; }
    void set(const BrushSettings& settings) { settings_ = settings.clamped(); }
    /// Changes a copy and sets it.
    template <std::invocable<BrushSettings&> Change>
    void update(Change&& change) {
        BrushSettings changed = get();
        std::forward<Change>(change)(changed);
        set(changed);
    }
    Connection onChange(std::function<void(const BrushSettings&)> callback) const {
        return settings_.onChange(std::move(callback));
    }
    Connection observe(std::function<void(const BrushSettings&)> callback) const {
        return settings_.observe(std::move(callback));
    }

    double size() const override { return get().size; }
    void setSize(double size) override;
    double hardness() const override { return get().hardness; }
    void setHardness(double hardness) override;
    void setStrength(double value, PaintStrength which) override;

    /// Takes the brush of a preset, and leaves how it is used.
    void apply(const BrushPreset& preset, const FindTip& findTip);
    void setTip(SharedBrushTip tip); ///< null: round

    /// Takes the brush and how it is used. A tip that is not found is kept in mind for saved().
    void restore(const SavedBrushSettings& saved, const FindTip& findTip);
    SavedBrushSettings saved() const;

private:
    Observable<BrushSettings> settings_;
    std::optional<Uuid> missingTip_;
};

} // namespace ombrel
