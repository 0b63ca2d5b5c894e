// The shell of the program in a test: a controller with services of its own in a temporary folder,
// and answers to questions laid down beforehand. Several controllers may follow each other on the
// same folder, as the starts of a program do.
#pragma once

#include "App/Shell/Activities.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/EventLoopBridge.h"
#include "App/Shell/LaidDownAnswers.h"
#include "App/Shell/StartWindow.h"
#include "Base/MainExecutor.h"
#include "Base/ThreadPool.h"
#include "Commands/AddLayerCommands.h"
#include "Editor/BrushPresetStore.h"
#include "Engine/CpuDevice.h"
#include "support/TemporaryFolder.h"
#include "support/TestStore.h"

#include <QAction>
#include <QTest>
#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace ombrel {

inline bool eventually(const std::function<bool()>& holds, int milliseconds = 20'000) {
    return QTest::qWaitFor(holds, milliseconds);
}

/// Null fails the test.
template <typename Widget>
Widget* child(QWidget& of, const char* name) {
    auto* found = of.findChild<Widget*>(name);
    EXPECT_NE(found, nullptr) << name;
    return found;
}

class ShellTest : public testing::Test {
protected:
    ShellTest() {
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                                 "XDG_STATE_HOME", "XDG_RUNTIME_DIR"})
            qputenv(name, folder.path().c_str());
        startProgram();
    }
    ~ShellTest() override { endProgram(); }

    void startProgram() {
        settings = std::make_unique<Settings>(folder / "settings.json");
        recovery = std::make_unique<RecoveryStore>(folder / "recovery");
        brushes = std::make_unique<BrushPresetStore>(folder / "presets", MainExecutor::shared());
        services = std::make_unique<AppServices>(AppServices{
            MainExecutor::shared(), worker, recoveryWriter, *store, device, *settings, *recovery,
            *brushes, answers, activities, [this](Timer::Duration, Executor::Task wakeUp) {
                sleeping.push_back(std::move(wakeUp));
            }});
        controller = std::make_unique<DocumentController>(*services, [this] { hasEnded = true; });
    }
    /// As when the process ends: windows and what runs for them go.
    void endProgram() {
        controller.reset();
        settle();
        sleeping.clear();
        services.reset();
        brushes.reset();
        recovery.reset(); // its locks go, as those of a process
        settings.reset();
    }
    /// As when it is killed: documents get no chance to tidy up.
    void crash() {
        for (const auto& document : controller->documents())
            document->leaveRecovery();
        endProgram();
    }
    void settle() {
        bool isSettled = false;
        recoveryWriter.drain();
        MainExecutor::shared().post([&] { isSettled = true; });
        ASSERT_TRUE(eventually([&] { return isSettled; }));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    /// All recovery delays are over.
    void wakeRecovery() {
        for (Executor::Task& wakeUp : std::exchange(sleeping, {}))
            wakeUp();
    }

    ImageDocument& document(std::size_t index = 0) { return *controller->documents()[index]; }
    std::size_t documentCount() const { return controller->documents().size(); }
    /// And for their windows to be complete.
    bool waitForDocuments(std::size_t count) {
        return eventually([&] {
            return documentCount() == count &&
                   std::ranges::all_of(controller->documents(), [](const auto& document) {
                       return document->window()->isVisible();
                   });
        });
    }
    void makeDocument(PixelSize size = {600, 400}) {
        Canvas canvas;
        canvas.size = size;
        controller->makeDocument(canvas, DocumentState::White{});
        ASSERT_TRUE(waitForDocuments(documentCount()));
    }
    void addLayer(ImageDocument& to) {
        to.session()->perform(AddLayerCommand{PixelLayer::named("Added"), {}});
    }
    std::size_t layerCount(std::size_t index = 0) {
        return document(index).session()->_state->allPixelLayers().size();
    }
    bool openAndWait(const std::filesystem::path& path) {
        const std::size_t before = documentCount();
        controller->openFiles({path});
        return waitForDocuments(before + 1);
    }
    std::optional<ImageDocument::SaveResult> saveTo(const std::filesystem::path& path,
                                                    std::size_t index = 0) {
        std::optional<ImageDocument::SaveResult> result;
        document(index).saveToURL(path, [&](ImageDocument::SaveResult said) { result = said; });
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
        return result;
    }
    void trigger(const char* action, std::size_t index = 0) {
        QAction* found = document(index).window()->action(action);
        ASSERT_NE(found, nullptr) << action;
        QCoreApplication::processEvents(); // greying comes a little later
        ASSERT_TRUE(found->isEnabled()) << action;
        found->trigger();
    }
    bool isEnabled(const char* action, std::size_t index = 0) {
        QTest::qWait(1);
        return document(index).window()->action(action)->isEnabled();
    }

    test::TemporaryFolder folder;
    EventLoopBridge bridge{MainExecutor::shared()};
    Strand recoveryWriter{"Recovery"};
    std::shared_ptr<TileStore> store = makeTestStore();
    CpuDevice device;
    /// What panels have begun ends before the store and the device do.
    ThreadPool worker{TaskPriority::userInitiated, 2};
    LaidDownAnswers answers;
    Activities activities;
    std::vector<Executor::Task> sleeping; ///< recovery rounds to come
    bool hasEnded = false;
    std::unique_ptr<Settings> settings;
    std::unique_ptr<RecoveryStore> recovery;
    std::unique_ptr<BrushPresetStore> brushes;
    std::unique_ptr<AppServices> services;
    std::unique_ptr<DocumentController> controller;
};

} // namespace ombrel
