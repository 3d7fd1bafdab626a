#pragma once

#include "platform/PrivilegedRunner.h"

#include <QString>

namespace quillon::app {

// How an attempt to install or remove something with administrator rights
// ended. message is set for `failed` only.
struct InstallResult {
    enum class Kind {
        success,
        cancelled,
        failed
    };

    Kind kind = Kind::failed;
    QString message;

    static InstallResult success() { return {Kind::success, {}}; }
    static InstallResult cancelled() { return {Kind::cancelled, {}}; }
    static InstallResult failed(const QString& why) { return {Kind::failed, why}; }
    // A root script's end: a dismissed authentication is `cancelled`.
    static InstallResult from(const platform::PrivilegedRunner::Result& result)
    {
        using Run = platform::PrivilegedRunner::Result::Kind;
        switch (result.kind) {
        case Run::success:
            return success();
        case Run::dismissed:
            return cancelled();
        case Run::failed:
            break;
        }
        return failed(result.message);
    }
};

} // namespace quillon::app
