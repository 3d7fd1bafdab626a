#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <utility>

namespace quillon::test {

// A real mounted file system holding a few new files: an ext4 image on a
// loop device where the test may mount one (root), else a directory on the
// tmpfs mounted at /dev/shm. The files are new, so their access times are not
// later than their modification times: any read without O_NOATIME would
// update them, even under relatime.
class TestVolume {
public:
    // How long a change of metadata (an access time, say) can take to reach
    // the loop volume's device: its journal commits every second.
    static constexpr int commitMs = 1000;

    TestVolume()
    {
        m_mountPoint = m_dir.filePath("mnt");
        QDir().mkpath(m_mountPoint);
        if (!mountLoopDevice()) {
            m_shared = std::make_unique<QTemporaryDir>(
                (QDir("/dev/shm").exists() ? "/dev/shm" : QDir::tempPath()) + "/quillon-volume-XXXXXX");
            m_mountPoint = m_shared->path();
            populate();
        }
        readDeviceNumbers();
    }
    ~TestVolume()
    {
        if (onLoopDevice() && !run("umount", {m_mountPoint}))
            run("umount", {"-l", m_mountPoint});
    }

    // Whether it is the ext4 image, not the tmpfs folder.
    bool onLoopDevice() const { return !m_image.isEmpty(); }
    QString mountPoint() const { return m_mountPoint; }
    // The block device's numbers (major 0 for tmpfs).
    unsigned deviceMajor() const { return m_major; }
    unsigned deviceMinor() const { return m_minor; }

    // Every file and folder the volume holds, relative to its top ("." itself).
    static QStringList entries()
    {
        QStringList all{"."};
        for (const auto& [path, size] : kFiles) {
            for (QString folder = QFileInfo(path).path(); folder != "."; folder = QFileInfo(folder).path())
                all << folder;
            all << path;
        }
        all.removeDuplicates();
        return all;
    }

    // Mounts the loop volume afresh, so that nothing of it is cached. Does
    // nothing on tmpfs.
    //
    // ext4 notes in its superblock where it is mounted when the first file is
    // opened after mounting: a write of its own, once per mount, that any
    // program opening a file causes (on a user's drive the file manager has
    // long done so). This opens a file once and commits that note, then drops
    // the blocks the lookup cached. (Mounting itself writes as well; callers
    // wait for the write counter to settle.)
    bool remount()
    {
        if (m_image.isEmpty())
            return true;
        if (!run("umount", {m_mountPoint}) || !run("mount", {"-o", "loop,commit=1", m_image, m_mountPoint}))
            return false;
        readDeviceNumbers();
        const int file = ::open(QFile::encodeName(m_mountPoint + "/notes.txt").constData(), O_RDONLY | O_NOATIME);
        if (file >= 0) {
            ::syncfs(file);
            ::close(file);
        }
        const QString device = QFileInfo(QStringLiteral("/sys/dev/block/%1:%2").arg(m_major).arg(m_minor))
                                   .canonicalFilePath()
                                   .section('/', -1);
        const int blockDevice = ::open(QFile::encodeName("/dev/" + device).constData(), O_RDONLY);
        if (blockDevice >= 0) {
            ::posix_fadvise(blockDevice, 0, 0, POSIX_FADV_DONTNEED);
            ::close(blockDevice);
        }
        return true;
    }

private:
    // "Archive" holds only a folder: it has no file to read at its top.
    static constexpr std::pair<const char*, qsizetype> kFiles[] = {
        {"clip-0001.mov", 256 << 10},
        {"notes.txt", 16},
        {"Projects/edit.project", 10 << 10},
        {"Archive/2024/interview.wav", 64 << 10},
    };

    static bool run(const QString& program, const QStringList& args)
    {
        QProcess process;
        process.start(program, args);
        return process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit
            && process.exitCode() == 0;
    }
    bool mountLoopDevice()
    {
        const QString image = m_dir.filePath("volume.img");
        QFile file(image);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(32 << 20))
            return false;
        file.close();
        // Initialise everything now: ext4's lazy initialisation would write
        // in the background while the test watches for writes.
        if (!run("mkfs.ext4", {"-q", "-F", "-E", "lazy_itable_init=0,lazy_journal_init=0", image})
            || !run("mount", {"-o", "loop", image, m_mountPoint}))
            return false;
        populate();
        m_image = image;
        return remount();
    }
    void populate() const
    {
        for (const auto& [relative, size] : kFiles) {
            const QString path = m_mountPoint + '/' + relative;
            QDir().mkpath(QFileInfo(path).path());
            QFile file(path);
            if (file.open(QIODevice::WriteOnly))
                file.write(QByteArray(size, 'q'));
        }
    }
    void readDeviceNumbers()
    {
        struct stat info { };
        if (::stat(QFile::encodeName(m_mountPoint).constData(), &info) == 0) {
            m_major = ::major(info.st_dev);
            m_minor = ::minor(info.st_dev);
        }
    }

    QTemporaryDir m_dir;
    std::unique_ptr<QTemporaryDir> m_shared;
    QString m_mountPoint;
    QString m_image;
    unsigned m_major = 0;
    unsigned m_minor = 0;
};

} // namespace quillon::test
