#include "XDisplay.h"

#include "support/ChildProcess.h"

#include <cstdio>

namespace quillon::test {

XDisplay::XDisplay()
{
    ensureCoreApplication();
    // Two tries: on a loaded machine a server started next to another one
    // now and then gives up on its display.
    for (int attempt = 0; attempt < 2 && !ready(); ++attempt)
        start();
}

void XDisplay::start()
{
    m_tray.stop();
    m_xvfb.stop();
    m_name.clear();
    // -displayfd: Xvfb picks a free display and prints its number when ready.
    m_xvfb.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"}, {});
    if (!waitUntil([&] { return !m_xvfb.lines().isEmpty() || !m_xvfb.running(); }, 30s) || !m_xvfb.running()) {
        std::fprintf(stderr, "Xvfb did not start\n");
        return;
    }
    m_name = ":" + m_xvfb.lines().first().trimmed();
    m_tray.start("trayer",
        {"--edge", "top", "--align", "right", "--widthtype", "request", "--height", "24", "--SetDockType", "true",
            "--transparent", "false", "--expand", "true"},
        {"DISPLAY=" + m_name});
    m_trayReady = waitUntil([&] { return !run("xdotool", {"search", "--class", "trayer"}).isEmpty(); }, 30s);
    if (!m_trayReady)
        std::fprintf(stderr, "trayer did not show on %s\n", qPrintable(m_name));
}

XDisplay::~XDisplay() = default;

QString XDisplay::run(const QString& program, const QStringList& args) const
{
    return QString::fromStdString(ChildProcess::run(program, args, {"DISPLAY=" + m_name}, 10000).out).trimmed();
}

QList<XDisplay::Window> XDisplay::visibleWindows(const QString& instance) const
{
    QList<Window> windows;
    for (const QString& id : run("xdotool", {"search", "--onlyvisible", "--classname", "^" + instance + "$"})
                                 .split('\n', Qt::SkipEmptyParts)) {
        // "X=..\nY=..\nWIDTH=..\nHEIGHT=.." once per window.
        QMap<QString, int> shell;
        for (const QString& line : run("xdotool", {"getwindowgeometry", "--shell", id}).split('\n'))
            shell.insert(line.section('=', 0, 0), line.section('=', 1).toInt());
        windows.append({id.toULongLong(), QRect(shell["X"], shell["Y"], shell["WIDTH"], shell["HEIGHT"])});
    }
    return windows;
}

void XDisplay::click(const Window& window) const
{
    const QPoint centre = window.frame.center();
    run("xdotool", {"mousemove", QString::number(centre.x()), QString::number(centre.y()), "click", "1"});
}

void XDisplay::click(const Window& window, const QPoint& at) const
{
    const QPoint point = window.frame.topLeft() + at;
    run("xdotool", {"mousemove", QString::number(point.x()), QString::number(point.y()), "click", "1"});
}

void XDisplay::key(const Window& window, const QString& keys) const
{
    run("xdotool", {"windowfocus", QString::number(window.id), "key", "--clearmodifiers", keys});
}

QImage XDisplay::grab(const QString& path, qulonglong window) const
{
    QStringList args{path};
    if (window != 0)
        args.append(QString::number(window));
    ChildProcess::run(QUILLON_SCREENGRAB_BIN, args, {"DISPLAY=" + m_name}, 10000);
    return QImage(path);
}

} // namespace quillon::test
