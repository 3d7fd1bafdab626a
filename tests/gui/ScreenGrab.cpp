// quillon-screengrab OUT.png [WINDOW_ID]: saves the X screen (or one window)
// as a PNG. The GUI test and the headless demo take their screenshots with it.
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s OUT.png [WINDOW_ID]\n", argv[0]);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    bool ok = true;
    const WId window = argc == 3 ? QString::fromLatin1(argv[2]).toULongLong(&ok, 0) : 0;
    if (!ok) {
        std::fprintf(stderr, "%s: not a window id: %s\n", argv[0], argv[2]);
        return 2;
    }
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(window);
    if (shot.isNull() || !shot.save(QString::fromLocal8Bit(argv[1]), "PNG")) {
        std::fprintf(stderr, "%s: cannot grab or save %s\n", argv[0], argv[1]);
        return 1;
    }
    return 0;
}
