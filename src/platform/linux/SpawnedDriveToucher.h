#pragma once

#include "platform/DriveToucher.h"

namespace quillon::platform::linux_ {

// Touches each volume in a short-lived child process (the quillon-drive-touch
// program, which does what LinuxDriveToucher does) and waits for it on the
// calling thread. A drive that stops answering after it took a request (a
// dead NFS server, a FUSE daemon that hung mid-request) leaves the process
// touching it asleep in the kernel, where not even SIGKILL reaches it; a
// thread of our own in that state would keep the app from ever exiting. A
// child in that state is only a child: the app quits, and the child goes
// (it is killed with its parent) once the kernel lets the request go.
//
// The outcome is the child's exit status; a child that could not be started
// or that died otherwise counts as notReached. Thread-safe; blocks for as
// long as the touch takes.
class SpawnedDriveToucher : public DriveToucher {
public:
    explicit SpawnedDriveToucher(QString program);

    DriveTouchOutcome touch(const QString& mountPath) override;

    // The exit status the program reports an outcome with, and back.
    static int exitStatusFor(DriveTouchOutcome outcome);
    static DriveTouchOutcome outcomeOf(int exitStatus);

private:
    QString m_program;
};

} // namespace quillon::platform::linux_
