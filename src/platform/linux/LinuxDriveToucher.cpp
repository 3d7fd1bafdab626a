#include "LinuxDriveToucher.h"

#include <QFile>
#include <QList>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace quillon::platform::linux_ {

namespace {

// One block at any logical block size up to 4 KiB, which O_DIRECT needs for
// buffer address, offset and length alike.
constexpr size_t kDirectReadBytes = 4096;
// Bounds on the search for a file to read.
constexpr qsizetype kMaxCandidates = 8;
constexpr qsizetype kMaxSubdirectories = 8;

class Fd {
public:
    explicit Fd(int fd)
        : m_fd(fd)
    {
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd;
};

int openNoAtime(int dirFd, const char* name, int flags)
{
    return ::openat(dirFd, name, flags | O_RDONLY | O_NOATIME | O_CLOEXEC | O_NOCTTY);
}

// O_NOATIME where the kernel grants it, plain read-only otherwise.
int openDirectoryForListing(int dirFd, const char* name, int extraFlags = 0)
{
    const int flags = O_DIRECTORY | O_NONBLOCK | extraFlags;
    const int fd = openNoAtime(dirFd, name, flags);
    if (fd >= 0 || errno != EPERM)
        return fd;
    return ::openat(dirFd, name, flags | O_RDONLY | O_CLOEXEC);
}

struct Listing {
    QList<QByteArray> files;
    QList<QByteArray> directories;
};

bool isDotOrDotDot(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// Reads the whole directory (the touch itself) and keeps the first few
// regular files and subdirectories as candidates for a direct read.
Listing listDirectory(int dirFd)
{
    Listing listing;
    const int streamFd = ::fcntl(dirFd, F_DUPFD_CLOEXEC, 0);
    if (streamFd < 0)
        return listing;
    DIR* stream = ::fdopendir(streamFd);
    if (!stream) {
        ::close(streamFd);
        return listing;
    }
    while (const dirent* entry = ::readdir(stream)) {
        if (isDotOrDotDot(entry->d_name))
            continue;
        unsigned char type = entry->d_type;
        if (type == DT_UNKNOWN) {
            struct stat info { };
            if (::fstatat(dirFd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0)
                type = S_ISREG(info.st_mode) ? DT_REG : S_ISDIR(info.st_mode) ? DT_DIR : DT_UNKNOWN;
        }
        if (type == DT_REG && listing.files.size() < kMaxCandidates)
            listing.files.append(QByteArray(entry->d_name));
        else if (type == DT_DIR && listing.directories.size() < kMaxSubdirectories)
            listing.directories.append(QByteArray(entry->d_name));
    }
    ::closedir(stream);
    return listing;
}

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

// Reads the first block of one of the files, bypassing the page cache. Only
// regular, non-empty files of this volume, opened without following links
// and only with O_NOATIME. True once one read returned data.
bool readOneUncached(int dirFd, const QList<QByteArray>& files, dev_t volume)
{
    std::unique_ptr<void, FreeDeleter> buffer(std::aligned_alloc(kDirectReadBytes, kDirectReadBytes));
    if (!buffer)
        return false;
    for (const QByteArray& name : files) {
        const Fd file(openNoAtime(dirFd, name.constData(), O_DIRECT | O_NOFOLLOW | O_NONBLOCK));
        if (!file) {
            // A file system without direct I/O refuses every file alike.
            if (errno == EINVAL)
                return false;
            continue;
        }
        struct stat info { };
        if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size <= 0 || info.st_dev != volume)
            continue;
        ssize_t got = 0;
        do {
            got = ::pread(file.get(), buffer.get(), kDirectReadBytes, 0);
        } while (got < 0 && errno == EINTR);
        if (got > 0)
            return true;
    }
    return false;
}

bool readUncached(int dirFd, const Listing& top, dev_t volume)
{
    if (readOneUncached(dirFd, top.files, volume))
        return true;
    for (const QByteArray& name : top.directories) {
        const Fd sub(openDirectoryForListing(dirFd, name.constData(), O_NOFOLLOW));
        if (!sub)
            continue;
        struct stat info { };
        if (::fstat(sub.get(), &info) != 0 || info.st_dev != volume)
            continue;
        if (readOneUncached(sub.get(), listDirectory(sub.get()).files, volume))
            return true;
    }
    return false;
}

} // namespace

LinuxDriveToucher::LinuxDriveToucher(QString sysRoot)
    : m_counter(std::move(sysRoot))
{
}

DriveTouchOutcome LinuxDriveToucher::touch(const QString& mountPath)
{
    if (!mountPath.startsWith(QLatin1Char('/')))
        return DriveTouchOutcome::missing;
    const Fd dir(openDirectoryForListing(AT_FDCWD, QFile::encodeName(mountPath).constData()));
    if (!dir)
        return errno == ENOENT || errno == ENOTDIR ? DriveTouchOutcome::missing : DriveTouchOutcome::notReached;
    struct stat info { };
    if (::fstat(dir.get(), &info) != 0)
        return DriveTouchOutcome::notReached;
    const unsigned major = ::major(info.st_dev);
    const unsigned minor = ::minor(info.st_dev);

    const auto before = m_counter.readsCompleted(major, minor);
    const Listing top = listDirectory(dir.get());
    const auto afterListing = m_counter.readsCompleted(major, minor);
    if (before && afterListing && *afterListing > *before)
        return DriveTouchOutcome::listed;

    readUncached(dir.get(), top, info.st_dev);
    const auto afterRead = m_counter.readsCompleted(major, minor);
    if (!before || !afterListing || !afterRead)
        return DriveTouchOutcome::unverified;
    return *afterRead > *afterListing ? DriveTouchOutcome::uncachedRead : DriveTouchOutcome::notReached;
}

} // namespace quillon::platform::linux_
