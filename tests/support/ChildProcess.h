#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <string>

namespace quillon::test {

// Runs one of our executables to completion, as a user would from a shell.
struct ChildProcess {
    struct Result {
        int exitCode = -1;
        bool crashed = false;
        std::string out;
        std::string err;
    };

    // env entries are "NAME=value" (set) or "NAME" (unset), applied to this
    // process's environment.
    static Result run(
        const QString& program, const QStringList& args, const QStringList& env = {}, int timeoutMs = 30000)
    {
        QProcess process;
        process.setProcessEnvironment(environment(env));
        process.start(program, args);
        Result result;
        if (!process.waitForStarted(5000))
            return result;
        if (!process.waitForFinished(timeoutMs)) {
            process.kill();
            process.waitForFinished(2000);
        }
        result.crashed = process.exitStatus() == QProcess::CrashExit;
        result.exitCode = process.exitCode();
        result.out = process.readAllStandardOutput().toStdString();
        result.err = process.readAllStandardError().toStdString();
        return result;
    }

    static QProcessEnvironment environment(const QStringList& env)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& entry : env) {
            const qsizetype eq = entry.indexOf('=');
            if (eq < 0)
                environment.remove(entry);
            else
                environment.insert(entry.left(eq), entry.mid(eq + 1));
        }
        return environment;
    }
};

} // namespace quillon::test
