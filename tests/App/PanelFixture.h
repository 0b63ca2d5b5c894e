// A session for panels to stand on, on executors that the test drives.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "App/Shell/LaidDownAnswers.h"
#include "Editor/BrushPresetStore.h"
#include "Editor/SessionFixture.h"

#include <QCoreApplication>
#include <QEvent>
#include <memory>
#include <vector>

namespace ombrel {

struct PanelFixture : SessionFixture {
    using SessionFixture::SessionFixture;

    PanelContext context() {
        return {session, executors.main, executors.worker, *store,
                device,  settings,       brushes,          answers};
    }
    /// Runs everything that was posted, by us or by the toolkit.
    void settle() {
        for (int round = 0; round < 3; ++round) {
            executors.settle();
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    const DocumentState& state() const { return session->_state.get(); }
    std::vector<std::string> historyNames() const {
        std::vector<std::string> names;
        for (const auto& entry : session->_history->entries())
            names.push_back(entry->name);
        return names;
    }

    BrushPresetStore brushes{folder / "presets", executors.main};
    LaidDownAnswers answers;
};

} // namespace ombrel
