#pragma once

#include "support/EventLoop.h"
#include "support/LineProcess.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <sys/mount.h>

namespace quillon::test {

// A FUSE file system whose daemon never answers, as a network or cloud
// mount behaves when its server is gone: every look-up below path() hangs
// until the mount goes. Mounted by a small Python process straight through
// /dev/fuse (no libfuse); needs root, as CI runs. Destroyed, it stops the
// daemon (which fails every waiting request) and detaches the mount.
class HungMount {
public:
    HungMount()
    {
        ensureCoreApplication();
        m_daemon.start(QStringLiteral(QUILLON_PYTHON), {QStringLiteral("-c"), QString::fromLatin1(kScript), path()}, {},
            QStringLiteral("/dev/null"));
        m_mounted = m_daemon.waitForLine(QStringLiteral("mounted"), std::chrono::seconds(10));
    }
    ~HungMount()
    {
        m_daemon.stop();
        ::umount2(QFile::encodeName(path()).constData(), MNT_DETACH);
    }
    HungMount(const HungMount&) = delete;
    HungMount& operator=(const HungMount&) = delete;

    bool mounted() const { return m_mounted; }
    QString path() const { return m_dir.path(); }
    // Lets every waiting request fail, as a crashed daemon would.
    void breakConnection() { m_daemon.stop(); }

private:
    static constexpr const char* kScript = R"py(
import ctypes, os, sys, time
libc = ctypes.CDLL(None, use_errno=True)
fd = os.open('/dev/fuse', os.O_RDWR)
options = 'fd=%d,rootmode=40000,user_id=%d,group_id=%d' % (fd, os.getuid(), os.getgid())
if libc.mount(b'quillon-hung', sys.argv[1].encode(), b'fuse.quillon-hung', 0, options.encode()) != 0:
    print('mount failed: errno %d' % ctypes.get_errno(), flush=True)
    sys.exit(1)
print('mounted', flush=True)
while True:
    time.sleep(3600)
)py";

    QTemporaryDir m_dir;
    LineProcess m_daemon;
    bool m_mounted = false;
};

} // namespace quillon::test
