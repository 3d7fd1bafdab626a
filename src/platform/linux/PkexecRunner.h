#pragma once

#include "platform/PrivilegedRunner.h"

#include <QObject>

namespace quillon::platform::linux_ {

// Root rights through polkit's pkexec. pkexec answers 126 when the user
// dismisses the dialog and 127 when it refuses or finds no authentication
// agent, but it passes the script's own exit code through as well; so the
// script is started behind a marker line, and only a run that never printed
// the marker is pkexec's own answer. pkexec's own text agent is switched off:
// the app has no terminal to ask on, and without a graphical agent the run
// fails at once with a reason instead of waiting on a prompt nobody sees.
class PkexecRunner : public QObject, public PrivilegedRunner {
    Q_OBJECT
public:
    // program: "pkexec" from PATH, or a stand-in of the same contract.
    explicit PkexecRunner(QString program = QStringLiteral("pkexec"), QObject* parent = nullptr);

    void run(const QString& script, Done done) override;

    // What the user reads when no password dialog can be shown.
    static QString noAgentText();

private:
    QString m_program;
};

} // namespace quillon::platform::linux_
