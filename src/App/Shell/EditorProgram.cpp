#include "App/Shell/EditorProgram.h"

#include "App/Look/Theme.h"
#include "App/Shell/Activities.h"
#include "App/Shell/AppServices.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/EventLoopBridge.h"
#include "App/Shell/MessageBoxes.h"
#include "App/Shell/RunningInstance.h"
#include "App/Shell/SignalWatch.h"
#include "App/Shell/Watchdog.h"
#include "Base/Log.h"
#include "Base/MainExecutor.h"
#include "Base/ThreadPool.h"
#include "Engine/CpuDevice.h"

#include <cstdio>
#include <memory>
#include <unistd.h>
#include <vector>

namespace ombrel {

namespace {

using Files = std::vector<std::filesystem::path>;

/// What the toolkit says goes to the log. It ends the process where it finds no display.
void takeMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtFatalMsg) {
        const bool hasApplication =
            QCoreApplication::instance() != nullptr && !QCoreApplication::startingUp();
        if (hasApplication)
            std::fprintf(stderr, "ombrel: %s\n", message.toUtf8().constData());
        else
            std::fprintf(stderr, "ombrel: There is no display to open a window on. "
                                 "See ombrel --help for what works without one.\n");
        std::fflush(stderr);
        ::_exit(1);
    }
    Log::debug("{}", message.toStdString());
}

/// Absolute: the process that gets them may stand in another folder.
Files absoluteFiles(std::span<const std::string> files) {
    Files paths;
    for (const std::string& file : files) {
        std::error_code error;
        const auto path = std::filesystem::absolute(file, error);
        paths.push_back(error ? std::filesystem::path(file) : path);
    }
    return paths;
}

void setBudget(TileStore& store, const Settings& settings) {
    const auto bytes =
        static_cast<std::int64_t>(::sysconf(_SC_PHYS_PAGES)) * ::sysconf(_SC_PAGESIZE);
    store.setBudget(TileStore::Budget::ofMemory(bytes, settings.get(SettingKeys::memoryFraction)));
}

/// All that lives while windows may.
int runWindows(RunningInstance& instance, const Files& files) {
    MainExecutor& main = MainExecutor::shared();
    Strand recoveryWriter("Recovery", TaskPriority::utility);
    CpuDevice device;
    MessageBoxes dialogs;
    Activities activities;
    Settings& settings = Settings::shared();
    TileStore& store = TileStore::shared();
    AppServices services{main,     ThreadPool::shared(),    recoveryWriter, store,     device,
                         settings, RecoveryStore::shared(), dialogs,        activities};
    const auto budget = settings.onChange(SettingKeys::memoryFraction.name,
                                          [&](const Json&) { setBudget(store, settings); });
    setBudget(store, settings);
    const EventLoopBridge bridge(main);
    DocumentController controller(services, [] { QCoreApplication::quit(); });
    const SignalWatch signals([&] { controller.endAtOnce(); });
    const bool isHeard = instance.listen([&](const Files& more) { controller.activate(more); });
    if (!isHeard) Log::debug("Other processes cannot hand their files over");
    main.post([&] { controller.start(files); });
    const int status = QApplication::exec();
    RecoveryStore::shared().finish();
    recoveryWriter.drain();
    if (const auto saved = settings.save(); !saved)
        Log::warning("Couldn't save the settings: {}", saved.error().text());
    return status;
}

} // namespace

int runEditor(int argc, char** argv, std::span<const std::string> files) {
    const Files paths = absoluteFiles(files);
    RunningInstance instance;
    if (instance.start(paths) == RunningInstance::Role::handedOver) return 0;
    qInstallMessageHandler(takeMessage);
    QApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
    QApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    QApplication::setApplicationName("ombrel");
    QApplication::setDesktopFileName("ombrel");
    QApplication::setApplicationVersion(OMBREL_VERSION);
    WatchedApplication application(argc, argv);
    const auto applyTheme = [&application] {
        const std::string scheme = Settings::shared().get(SettingKeys::colorScheme);
        Theme::apply(application, Theme::kindOf(scheme));
    };
    applyTheme();
    const auto themed = Settings::shared().onChange(SettingKeys::colorScheme.name,
                                                    [&](const Json&) { applyTheme(); });
    QApplication::setQuitOnLastWindowClosed(false);
    return runWindows(instance, paths);
}

} // namespace ombrel
