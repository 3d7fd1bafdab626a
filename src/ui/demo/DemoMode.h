#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <memory>
#include <vector>

namespace quillon::ui {

// `quillon --demo`: a simulated Mac and a fan helper of its own, as child
// processes in a private directory: the shared simulator
// (`quillon-helper --smc-sim`), a private D-Bus daemon, and an unprivileged
// `quillon-helper --daemon` serving on that bus and driving that Mac. They
// stop with the app (the helper first, so it hands the fans back), and,
// should the app die without stopping them, with its death.
//
// The private directory goes with the app too: removed on destruction, or,
// when the app dies without that (SIGKILL, a crash), by a watcher process
// that waits in a session of its own for the end of a pipe only the app
// holds open. Folders that outlived their demo anyway are removed by the
// next demo's start.
class DemoMode {
public:
    // Each start step waits at most this long for its process to be ready.
    static constexpr int kStartTimeoutMs = 10000;
    // The private directory is this followed by six random characters, in
    // the temporary directory ($TMPDIR, else /tmp).
    static constexpr const char* kDirectoryPrefix = "quillon-demo-";
    // The file in it that holds the demo's pid and that the running demo
    // holds an exclusive flock(2) on. A folder whose file is there, not
    // empty, and lockable belongs to a demo that is gone.
    static constexpr const char* kOwnerFile = "owner.lock";

    // helperProgram: the quillon-helper executable.
    explicit DemoMode(QString helperProgram);
    ~DemoMode();
    DemoMode(const DemoMode&) = delete;
    DemoMode& operator=(const DemoMode&) = delete;

    // Claims the directory, removes ones abandoned by earlier demos of this
    // user, and starts the three processes; on failure stops what started and
    // says why.
    bool start(QString& error);
    // Stops them, helper first; waits for each.
    void stop();

    // QUILLON_SMC and QUILLON_HELPER_BUS values that lead to them.
    QString smcSetting() const { return QStringLiteral("sim:") + socketPath(); }
    QString busAddress() const { return m_busAddress; }
    QString socketPath() const;
    // Where the helper's log goes.
    QString logPath() const;
    // The private directory (settings, logs) of this demo run.
    QString directory() const { return m_dir.path(); }

private:
    // environment: "NAME=value" entries added to ours; logFile: where its
    // output goes (empty: read by us).
    QProcess& launch(const QString& program, const QStringList& args, const QStringList& environment = {},
        const QString& logFile = {});
    bool claimDirectory(QString& error);
    bool startWatcher(QString& error);
    bool startSimulator(QString& error);
    bool startBus(QString& error);
    bool startHelper(QString& error);

    QString m_helperProgram;
    QTemporaryDir m_dir;
    QString m_busAddress;
    // In start order; stopped in reverse.
    std::vector<std::unique_ptr<QProcess>> m_children;
    // The locked owner file; -1 until claimed.
    int m_ownerFile = -1;
    // The write end of the watcher's standard input; -1 until it runs.
    int m_watcherInput = -1;
};

} // namespace quillon::ui
