#pragma once

#include <QString>

namespace quillon::app {

// How an attempt to install or remove something with administrator rights
// ended. message is set for `failed` only.
struct InstallResult {
    enum class Kind { success, cancelled, failed };

    Kind kind = Kind::failed;
    QString message;

    static InstallResult success() { return {Kind::success, {}}; }
    static InstallResult cancelled() { return {Kind::cancelled, {}}; }
    static InstallResult failed(const QString& why) { return {Kind::failed, why}; }
};

} // namespace quillon::app
