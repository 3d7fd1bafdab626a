#pragma once

#include <QStringList>

namespace quillon::ui {

// `quillon ctl ...`: one command to the running app over its scripting
// interface on the session bus. Prints the app's answer (status: its JSON)
// to standard output, problems to standard error.
class CtlCommand {
public:
    CtlCommand() = delete;

    enum ExitStatus {
        ok = 0,
        refused = 1, // the app said no, or is not running
        badUsage = 2,
    };

    // args: what follows "ctl". Needs no application object; makes its own.
    static int run(int argc, char** argv, const QStringList& args);
};

} // namespace quillon::ui
