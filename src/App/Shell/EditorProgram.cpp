#include "App/Shell/EditorProgram.h"

#include "App/Canvas/GraphicsProbe.h"
#include "App/Look/AppIcon.h"
#include "App/Look/SystemScheme.h"
#include "App/Look/Theme.h"
#include "App/Shell/Activities.h"
#include "App/Shell/AppServices.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/EventLoopBridge.h"
#include "App/Shell/MessageBoxes.h"
#include "App/Shell/RunningInstance.h"
#include "App/Shell/ShortcutTable.h"
#include "App/Shell/SignalWatch.h"
#include "App/Shell/Watchdog.h"
#include "Base/Log.h"
#include "Base/MainExecutor.h"
#include "Base/ThreadPool.h"
#include "Base/XdgFolders.h"
#include "Core/ScratchFolder.h"
#include "Editor/BrushPresetStore.h"
#include "Editor/SwatchLibrary.h"
#include "Engine/CpuDevice.h"

#include <QMimeDatabase>
#include <QTimer>
#include <cstdio>
#include <memory>
#include <unistd.h>
#include <vector>

namespace ombrel {

namespace {

using Files = std::vector<std::filesystem::path>;

constexpr const char* desktopSchemeKey = "desktopColorScheme"; ///< absent: dark

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

// Before the toolkit starts, and before the first tile is made.
void applyStartSettings(const Settings& settings) {
    ScratchFolder::choose(settings.get(SettingKeys::scratchFolder));
    const double scale = settings.get(SettingKeys::interfaceScale);
    if (scale != 1 && qEnvironmentVariableIsEmpty("QT_SCALE_FACTOR"))
        qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
}

void setBudget(TileStore& store, const Settings& settings) {
    const auto bytes =
        static_cast<std::int64_t>(::sysconf(_SC_PHYS_PAGES)) * ::sysconf(_SC_PAGESIZE);
    store.setBudget(TileStore::Budget::ofMemory(bytes, settings.get(SettingKeys::memoryFraction)));
}

/// Never destroyed: work that nobody waits for at the end may still use it.
struct Services {
    Strand recoveryWriter{"Recovery", TaskPriority::utility};
    CpuDevice device;
    BrushPresetStore brushes{XdgFolders::fromEnvironment().data / "presets",
                             MainExecutor::shared()};
    MessageBoxes dialogs;
    Activities activities;
    AppServices shared{MainExecutor::shared(),
                       ThreadPool::shared(),
                       recoveryWriter,
                       TileStore::shared(),
                       device,
                       Settings::shared(),
                       RecoveryStore::shared(),
                       brushes,
                       dialogs,
                       activities};
};

void endServices(const AppServices& services) {
    services.recovery.finish();
    SwatchLibrary::shared().finish();
    services.recoveryWriter.drain();
    // Failures are told in the log.
    static_cast<void>(services.brushes.flush());
    static_cast<void>(services.settings.save());
}

/// All that lives while windows may.
int runWindows(RunningInstance& instance, const Files& files) {
    AppServices& services = (new Services)->shared;
    const auto budget =
        services.settings.onChange(SettingKeys::memoryFraction.name, [&](const Json&) {
            setBudget(services.store, services.settings);
        });
    setBudget(services.store, services.settings);
    const auto letters = services.settings.onChange(ShortcutTable::settingsKey, [&](const Json&) {
        ShortcutTable(services.settings).applyToTools();
    });
    ShortcutTable(services.settings).applyToTools();
    const EventLoopBridge bridge(MainExecutor::shared());
    DocumentController controller(services, [] { QCoreApplication::quit(); });
    const SignalWatch signals([&] { controller.endAtOnce(); });
    const bool isHeard = instance.listen([&](const Files& more) { controller.activate(more); });
    if (!isHeard) Log::debug("Other processes cannot hand their files over");
    services.main.post([&] { controller.start(files); });
    // The first file dialog would read it on the main thread.
    services.worker.post([] { QMimeDatabase().mimeTypeForName("image/png"); });
    const int status = QApplication::exec();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // windows
    endServices(services);
    return status;
}

void applyTheme(QApplication& application) {
    const std::string scheme = Settings::shared().get(SettingKeys::colorScheme);
    Theme::apply(application, Theme::kindOf(scheme));
}

/// As the desktop wished last time, until it says what it wishes now. It is asked again whenever
/// the user comes back from other windows.
void followDesktop(QApplication& application) {
    Settings& settings = Settings::shared();
    if (settings.json(desktopSchemeKey) == "light") SystemScheme::setKnown(ThemeKind::light);
    const auto ask = [&application, &settings] {
        SystemScheme::ask(application, [&application, &settings] {
            const bool isLight = SystemScheme::known() == ThemeKind::light;
            settings.setJson(desktopSchemeKey, isLight ? Json("light") : Json());
            if (settings.get(SettingKeys::colorScheme) == "system") applyTheme(application);
        });
    };
    QTimer::singleShot(0, &application, ask);
    QObject::connect(&application, &QGuiApplication::applicationStateChanged, &application,
                     [ask](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) ask();
                     });
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
    applyStartSettings(Settings::shared());
    WatchedApplication application(argc, argv);
    QApplication::setWindowIcon(appIcon());
    GraphicsProbe::begin();
    followDesktop(application);
    applyTheme(application);
    const auto themed = Settings::shared().onChange(SettingKeys::colorScheme.name,
                                                    [&](const Json&) { applyTheme(application); });
    QApplication::setQuitOnLastWindowClosed(false);
    const int status = runWindows(instance, paths);
    GraphicsProbe::finish();
    return status;
}

} // namespace ombrel
