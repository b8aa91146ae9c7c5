#include "app/ApplicationController.h"
#include "app/DesktopHandover.h"
#include "app/DesktopAlert.h"
#include "app/DesktopAppearance.h"
#include "app/DesktopNotifier.h"
#include "app/DesktopWindows.h"
#include "app/HeadlinePageSchemeHandler.h"
#include "app/MainWindow.h"
#include "app/NotificationController.h"
#include "app/QBHeadlineWebView.h"
#include "app/QuillBayController.h"
#include "app/SideBarController.h"
#include "app/SingleInstance.h"
#include "app/SystemDesktopServices.h"
#include "app/WindowIconTile.h"
#include "fetch/FeedUpdater.h"
#include "fetch/ImagingService.h"
#include "fetch/TransferDefaults.h"
#include "model/FeedLibrary.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"
#include "platform/TerminationSignals.h"

#include <QApplication>
#include <QDir>
#include <QSessionManager>
#include <cstdio>
#include <unistd.h>

namespace {

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// One writer at a time: a quillbay-cli command that is writing the library is waited for a moment;
// after that the user chooses between trying again and quitting.
bool takeLibraryFolder(FeedLibrary &library, DesktopServices &desktop)
{
    while (!library.lockForWriting(std::chrono::seconds(5))) {
        const QString holder = library.lockHolder();
        const QString problem =
            holder.isEmpty()
                ? QApplication::translate("main", "The folder of your feed library, %1, cannot be written.")
                      .arg(FeedLibrary::libraryPath())
                : QApplication::translate("main", "Your feed library is in use by %1.").arg(holder);
        if (!desktop.confirm(problem, QApplication::translate("main", "Try Again"),
                             QApplication::translate("main", "Quit"),
                             QApplication::translate("main", "Only one program at a time may change %1. "
                                                             "Try again once that program has finished.")
                                 .arg(FeedLibrary::libraryPath())))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (!hasDisplay()) {
        std::fputs(
            "QuillBay needs a graphical display; without one, use quillbay-cli (quillbay-cli --help).\n",
            stderr);
        return 1;
    }
    // The web engine's sandbox refuses to start for root, as in containers and CI; nothing else does.
    if (geteuid() == 0 && qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    HeadlinePageSchemeHandler::registerSchemes();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("QuillBay"));
    QApplication::setApplicationVersion(QStringLiteral(QB_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("quillbay"));

    const QStringList arguments =
        DesktopHandover::argumentsToHandOver(QApplication::arguments().mid(1), QDir::currentPath());
    SingleInstance instance;
    // A launcher on Wayland gives the start a token; the window it lets come forward is the running one's.
    if (instance.forwardToRunningInstance(arguments, qEnvironmentVariable("XDG_ACTIVATION_TOKEN")))
        return 0;
    instance.listen();

    SettingsTable::install();
    // Before any window, so that a desktop that prefers dark is followed from the first picture on.
    DesktopAppearance appearance;
    QObject::connect(&appearance, &DesktopAppearance::changed, [] {
        NotificationCenter::defaultCenter().post(QStringLiteral("ThemeChangedNotification"));
    });
    appearance.start();
    SystemDesktopServices desktop;
    if (!takeLibraryFolder(FeedLibrary::feedLibrary(), desktop))
        return 1;
    // SIGTERM, SIGINT and SIGHUP end the run through the same quit as the menu, saving on the way.
    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::received, &application,
                     [] { QCoreApplication::exit(0); });
    FeedUpdater &updater = FeedUpdater::sharedFeedUpdater();
    WindowIconTile tile;
    tile.setUnreadCount([] { return FeedLibrary::feedLibrary().totalUnreadArticleCount(); });
    DesktopAlert alert;
    DesktopNotifier notifier;
    NotificationController notificationController(NotificationCenter::defaultCenter(), notifier);
    updater.setUserAlert(&alert);
    updater.setUserNotifier(&notifier);
    updater.setDockTile(&tile);
    QBHeadlineWebView *view = nullptr;
    ApplicationController controller(FeedLibrary::feedLibrary(), updater, Defaults::standard(),
                                     NotificationCenter::defaultCenter(), desktop, [&view] {
                                         view = new QBHeadlineWebView(TransferDefaults::userAgent());
                                         return view;
                                     });
    view->setDelegate(controller.mainWindowController());
    DesktopWindows windows(FeedLibrary::feedLibrary(), updater, Defaults::standard(),
                           NotificationCenter::defaultCenter(), desktop,
                           [&controller] { return controller.mainWindowController()->window(); });
    windows.setUserAlert(&alert);
    controller.setAuxiliaryWindows(&windows);
    controller.openHandedOver(arguments);
    QObject::connect(&instance, &SingleInstance::argumentsReceived, &controller,
                     [&controller](const QStringList &received, const QString &activationToken) {
                         // Forward first, so that a sheet opened by what was handed over shows on top.
                         controller.applicationShouldHandleReopen(activationToken);
                         controller.openHandedOver(received);
                     });
    QObject::connect(&application, &QApplication::aboutToQuit, &controller, [&controller] {
        controller.applicationWillTerminate();
        ImagingService::sharedImagingService().terminate();
    });
    QObject::connect(&application, &QGuiApplication::commitDataRequest, &controller,
                     [&controller](QSessionManager &) { controller.applicationWillEndSession(); });
    QObject::connect(&application, &QGuiApplication::applicationStateChanged, &controller,
                     [&controller](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive && controller.appLoaded())
                             controller.applicationDidBecomeActive();
                     });
    QMetaObject::invokeMethod(
        &controller,
        [&] {
            controller.applicationDidFinishLaunching();
            MainWindow *window = controller.mainWindowController()->window();
            desktop.setDialogParent(window);
            notificationController.setWindow(window);
            alert.setWindow(window);
            // The pane owns it; the clippings are loaded once, here.
            controller.setSideBar(new SideBarController(window->sideBarPane(), FeedLibrary::feedLibrary(),
                                                        Defaults::standard(),
                                                        NotificationCenter::defaultCenter(), desktop));
            ImagingService::sharedImagingService().start();
        },
        Qt::QueuedConnection);
    return QApplication::exec();
}
