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
//
// Two ways of not answering:
//  - silent: the daemon never even reads the kernel's requests; a waiting
//    process can still be killed (it waits killably for a request not yet sent);
//  - swallowing: the daemon completes the handshake, then reads every request
//    and answers none, as a server that took the request and died does. A
//    process waiting on it sleeps uninterruptibly: not even SIGKILL ends it
//    until the daemon goes.
class HungMount {
public:
    enum class Mode { silent, swallowing };

    explicit HungMount(Mode mode = Mode::silent)
    {
        ensureCoreApplication();
        m_daemon.start(QStringLiteral(QUILLON_PYTHON),
            {QStringLiteral("-c"), QString::fromLatin1(kScript), path(),
                mode == Mode::swallowing ? QStringLiteral("swallow") : QStringLiteral("silent")},
            {}, QStringLiteral("/dev/null"));
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
if sys.argv[2] == 'swallow':
    import struct
    # FUSE_INIT (opcode 26): the header is len, opcode, unique, nodeid, uid,
    # gid, pid, padding; the reply a header (len, error, unique) and an init_out
    # of 64 bytes: protocol 7.31, 128 KiB readahead and writes, no flags.
    request = os.read(fd, 1 << 20)
    unique = struct.unpack_from('=IIQ', request)[2]
    body = struct.pack('=IIIIHHIIHHI28x', 7, 31, 131072, 0, 16, 12, 131072, 1, 32, 0, 0)
    os.write(fd, struct.pack('=IiQ', 16 + len(body), 0, unique) + body)
    while True:
        os.read(fd, 1 << 20)
while True:
    time.sleep(3600)
)py";

    QTemporaryDir m_dir;
    LineProcess m_daemon;
    bool m_mounted = false;
};

} // namespace quillon::test
