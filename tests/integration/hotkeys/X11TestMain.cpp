// main() for the X11 key-grab tests: a private Xvfb (it picks a free display
// and names it through -displayfd), then a QGuiApplication on the xcb
// platform of that display. The server goes when the tests end.
#include <QGuiApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

pid_t startXvfb(std::string& display)
{
    int fds[2];
    if (::pipe(fds) != 0)
        return -1;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        const std::string fd = std::to_string(fds[1]);
        ::execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "640x480x24", "-nolisten", "tcp",
            static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::close(fds[1]);
    std::string number;
    char c = 0;
    while (::read(fds[0], &c, 1) == 1 && c != '\n')
        number += c;
    ::close(fds[0]);
    display = number.empty() ? std::string() : ":" + number;
    return pid;
}

} // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (::testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS(); // test discovery: no display needed
    std::string display;
    const pid_t xvfb = startXvfb(display);
    if (display.empty()) {
        std::fprintf(stderr, "Xvfb did not start\n");
        return 1;
    }
    ::setenv("DISPLAY", display.c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    int result = 0;
    {
        QGuiApplication app(argc, argv);
        result = RUN_ALL_TESTS();
    }
    ::kill(xvfb, SIGTERM);
    ::waitpid(xvfb, nullptr, 0);
    return result;
}
