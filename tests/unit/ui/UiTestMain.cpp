// main() for the tray app's unit tests: a QApplication on the offscreen
// platform, with the style the app uses, for widgets, icons and QML; in UTC
// and with English as the system's language, whatever the machine's are.
#include <QApplication>
#include <QQuickStyle>
#include <ctime>
#include <gtest/gtest.h>

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
