// A process that keeps one drive alive the way the app does and quits as soon
// as the drive's touch is overdue: drive_quit_probe PATH. Prints "overdue"
// then, and "quitting" just before it returns from main. The drive tests use
// it to show that a touch stuck in the kernel never holds up quitting.
#include "app/Settings.h"
#include "app/power/DriveManager.h"
#include "platform/Clock.h"
#include "platform/linux/LinuxPlatform.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2)
        return 64;
    const QString path = QString::fromLocal8Bit(argv[1]);
    QTemporaryDir settingsDir;
    quillon::app::Settings settings(settingsDir.filePath("Quillon.conf"));
    const quillon::platform::SystemClock clock;
    quillon::app::DriveManager manager({&settings, &clock, nullptr,
        quillon::platform::linux_::LinuxPlatform::driveToucher(QStringLiteral(QUILLON_DRIVE_TOUCH_BIN)), 300});
    manager.setIntervalSeconds(1);
    manager.add({path, path});
    QObject::connect(&manager, &quillon::app::DriveManager::reachabilityChanged, &app, [&] {
        if (!manager.reachable(path)) {
            std::puts("overdue");
            std::fflush(stdout);
            app.quit();
        }
    });
    manager.setEnabled(true);
    app.exec();
    std::puts("quitting");
    std::fflush(stdout);
    return 0;
}
