#include "platform/linux/LinuxDriveToucher.h"
#include "platform/linux/SpawnedDriveToucher.h"

#include <QString>
#include <csignal>
#include <sys/prctl.h>

// quillon-drive-touch MOUNT-PATH: one touch of a volume for the app's drive
// keep-alive (see SpawnedDriveToucher); the outcome is the exit status.
int main(int argc, char** argv)
{
    // Goes with the app: killed when the thread that started it ends (at
    // once, or as soon as the kernel lets a stuck request go).
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (argc != 2)
        return 64;
    using namespace quillon::platform::linux_;
    LinuxDriveToucher toucher;
    return SpawnedDriveToucher::exitStatusFor(toucher.touch(QString::fromLocal8Bit(argv[1])));
}
