#include "SpawnedDriveToucher.h"

#include <QFile>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace quillon::platform::linux_ {

namespace {

// Outcomes are reported from 10 up, clear of the statuses a failed exec (126,
// 127) or a crash leaves.
constexpr int kFirstStatus = 10;
constexpr int kOutcomes = int(DriveTouchOutcome::notReached) + 1;

} // namespace

SpawnedDriveToucher::SpawnedDriveToucher(QString program)
    : m_program(std::move(program))
{
}

int SpawnedDriveToucher::exitStatusFor(DriveTouchOutcome outcome)
{
    return kFirstStatus + int(outcome);
}

DriveTouchOutcome SpawnedDriveToucher::outcomeOf(int exitStatus)
{
    const int index = exitStatus - kFirstStatus;
    return index >= 0 && index < kOutcomes ? DriveTouchOutcome(index) : DriveTouchOutcome::notReached;
}

DriveTouchOutcome SpawnedDriveToucher::touch(const QString& mountPath)
{
    const QByteArray program = QFile::encodeName(m_program);
    const QByteArray path = QFile::encodeName(mountPath);
    char* argv[] = {const_cast<char*>(program.constData()), const_cast<char*>(path.constData()), nullptr};

    // The child gets nothing of ours but the standard streams (it writes to
    // none of them), and a clean signal state.
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&files, 3);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    pid_t child = -1;
    const int failed = ::posix_spawn(&child, program.constData(), &files, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    if (failed != 0)
        return DriveTouchOutcome::notReached;

    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return DriveTouchOutcome::notReached;
    }
    return WIFEXITED(status) ? outcomeOf(WEXITSTATUS(status)) : DriveTouchOutcome::notReached;
}

} // namespace quillon::platform::linux_
