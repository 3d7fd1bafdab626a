#pragma once

#include <QString>
#include <QStringList>

namespace quillon::ui {

// Starting the app afresh ("Restart now" after a change of language): a new
// process of the same executable with the same arguments, which waits for
// this one to be gone before it looks for a running instance (otherwise it
// would hand over to the quitting one and end).
class Relaunch {
public:
    Relaunch() = delete;

    // The variable that carries the old process's id to the new one.
    static constexpr const char* kWaitForVariable = "QUILLON_RELAUNCHED_FROM";
    // How long a new process waits for the old one at most.
    static constexpr int kWaitLimitMs = 10000;

    // Starts program with arguments, detached, told to wait for this
    // process. False when it could not be started (the caller keeps running).
    static bool start(const QString& program, const QStringList& arguments);
    // start() with this process's executable and arguments.
    static bool startAgain();
    // In the new process: waits until the process named by
    // kWaitForVariable has ended (at most kWaitLimitMs), then forgets it.
    static void waitForPredecessor();
};

} // namespace quillon::ui
