#include "HelperInstaller.h"

#include "RootScript.h"
#include "StagingDir.h"
#include "platform/PrivilegedRunner.h"

#include "daemon/HelperNames.h"

#include <QFileInfo>
#include <memory>

namespace quillon::app {

namespace {

const QString kName = QString::fromLatin1(daemon::HelperNames::kService);

// One file to put down: where the script copies it from and to, and its mode.
struct Placement {
    QString source;
    QString destination;
    QString mode;
};

QStringList placementLines(const Placement& file)
{
    const QString next = RootScript::quote(file.destination + QStringLiteral(".new"));
    return {
        QStringLiteral("mkdir -p ") + RootScript::quote(QFileInfo(file.destination).path()),
        QStringLiteral("cp ") + RootScript::quote(file.source) + QLatin1Char(' ') + next,
        QStringLiteral("chown root:root ") + next,
        QStringLiteral("chmod ") + file.mode + QLatin1Char(' ') + next,
    };
}

QString installScript(const QList<Placement>& files, const HelperLayout& layout)
{
    QStringList pending;
    for (const Placement& file : files)
        pending << RootScript::quote(file.destination + QStringLiteral(".new"));

    QStringList lines{
        QStringLiteral("set -e"),
        // A run that stops early takes its half-copied files with it.
        QStringLiteral("discard() {"),
        QStringLiteral("    rm -f ") + pending.join(QLatin1Char(' ')),
        QStringLiteral("}"),
        QStringLiteral("trap 'status=$?; discard; exit $status' EXIT"),
    };
    for (const Placement& file : files)
        lines << placementLines(file);
    // Renames replace a running helper's executable, which a copy over it
    // cannot ("Text file busy"), and they start only once every copy worked.
    for (const Placement& file : files) {
        lines << QStringLiteral("mv -f ") + RootScript::quote(file.destination + QStringLiteral(".new"))
                + QLatin1Char(' ') + RootScript::quote(file.destination);
    }
    lines << QStringLiteral("trap - EXIT");
    lines << RootScript::reload(layout);
    lines << RootScript::unitCommand(layout, QStringLiteral("enable"));
    lines << RootScript::stopHelper(layout);
    // The Ping starts the new helper by bus activation.
    const QString ping
        = QStringLiteral("dbus-send --system --print-reply --reply-timeout=10000 --dest=%1 %2 %1.Ping >/dev/null")
              .arg(kName, QString::fromLatin1(daemon::HelperNames::kObjectPath));
    lines << QStringList{
        QStringLiteral("if ! ") + ping + QStringLiteral(" 2>/dev/null; then"),
        QStringLiteral("    sleep 1"),
        QStringLiteral("    if ! ") + ping + QStringLiteral("; then"),
        QStringLiteral("        echo 'The helper was installed but does not answer on the system bus.' >&2"),
        QStringLiteral("        exit 1"),
        QStringLiteral("    fi"),
        QStringLiteral("fi"),
    };
    return RootScript::join(lines);
}

} // namespace

HelperInstaller::HelperInstaller(platform::PrivilegedRunner& runner, QString bundledHelper, HelperLayout layout)
    : m_runner(runner)
    , m_bundledHelper(std::move(bundledHelper))
    , m_layout(std::move(layout))
{
}

QString HelperInstaller::bundledHelperFor(const QString& appDir)
{
    const QString beside = appDir + QStringLiteral("/quillon-helper");
    const QString libexec = appDir + QStringLiteral("/../libexec/quillon/quillon-helper");
    return QFileInfo(beside).isFile() || !QFileInfo(libexec).isFile() ? beside : QFileInfo(libexec).canonicalFilePath();
}

bool HelperInstaller::isInstalled() const
{
    return QFileInfo::exists(m_layout.helperPath()) && QFileInfo::exists(m_layout.unitPath());
}

void HelperInstaller::install(Done done)
{
    if (m_bundledHelper.isEmpty() || !QFileInfo(m_bundledHelper).isFile()) {
        done(InstallResult::failed(QStringLiteral("Standalone helper binary not found beside the app (%1)")
                                       .arg(m_bundledHelper.isEmpty() ? QStringLiteral("no path") : m_bundledHelper)));
        return;
    }
    if (!m_layout.pathsArePlain()) {
        done(InstallResult::failed(QStringLiteral("The install destination %1 cannot be written into a systemd unit")
                                       .arg(m_layout.helperPath())));
        return;
    }

    auto staging = std::make_shared<StagingDir>();
    QString error;
    const QString helperPath = m_layout.helperPath();
    const auto stage = [&](const QString& resource, const QString& name) {
        return error.isEmpty() ? staging->writeFromResource(resource, name, helperPath, error) : QString();
    };
    const QList<Placement> files{
        {m_bundledHelper, helperPath, QStringLiteral("755")},
        {stage(QStringLiteral("systemd/%1.service.in").arg(kName), QStringLiteral("unit")), m_layout.unitPath(),
            QStringLiteral("644")},
        {stage(QStringLiteral("dbus/%1.conf").arg(kName), QStringLiteral("policy")), m_layout.busPolicyPath(),
            QStringLiteral("644")},
        {stage(QStringLiteral("dbus/%1.service.in").arg(kName), QStringLiteral("activation")),
            m_layout.activationPath(), QStringLiteral("644")},
        {stage(QStringLiteral("polkit/%1.policy").arg(kName), QStringLiteral("actions")), m_layout.polkitActionsPath(),
            QStringLiteral("644")},
    };
    const QString script = error.isEmpty()
        ? staging->write(QStringLiteral("install.sh"), installScript(files, m_layout).toUtf8(), error)
        : QString();
    if (!error.isEmpty()) {
        done(InstallResult::failed(error));
        return;
    }
    m_runner.run(script,
        [staging, done](const platform::PrivilegedRunner::Result& result) { done(InstallResult::from(result)); });
}

} // namespace quillon::app
