// main() for the tray app's unit tests: a QApplication on the offscreen
// platform, with the style the app uses, for widgets, icons and QML; in UTC
// and with English as the system's language, whatever the machine's are.
#include <QApplication>
#include <QQuickStyle>
#include <ctime>
#include <gtest/gtest.h>

// LeakSanitizer: what Qt Quick's software scene graph keeps of a window
// that was released while the app runs (the panel and the settings window
// are deleted a minute after they close): its backing store's image and
// painter, and the textures of the images it showed, are only ever reached
// from one another, so LeakSanitizer calls them indirect leaks. Every
// allocation here is made inside Qt's own libraries; a window or item of
// ours that leaked is still reported, from our own frame.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libQt6Gui.so\nleak:libQt6Quick.so\nleak:QtSharedPointer::ExternalRefCountData::getAndRef\n";
}

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("TZ", "UTC");
    ::tzset();
    qputenv("LANGUAGE", "en");
    qputenv("LC_ALL", "C.UTF-8");
    QApplication app(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
