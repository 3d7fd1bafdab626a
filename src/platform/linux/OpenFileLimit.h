#pragma once

namespace quillon::platform::linux_ {

// The process's limit on open files. The app holds one descriptor per
// watched process, per inotify-watched folder, per D-Bus and X connection;
// the usual soft limit of 1024 is far below what the kernel allows (the hard
// limit), and running out breaks everything at once (pipes for children,
// the display connection). Qt waits with poll(), never select(), so a limit
// above FD_SETSIZE is safe for it.
class OpenFileLimit {
public:
    // Raises the soft limit to the hard one, but no further than wanted;
    // never lowers it. The soft limit afterwards, or -1 when unknown.
    static long raise(long wanted = 8192);
};

} // namespace quillon::platform::linux_
