#include "HelperInstaller.h"

#include "RootScript.h"
#include "platform/PrivilegedRunner.h"

#include "daemon/HelperNames.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

namespace quillon::app {

namespace {

const QString kName = QString::fromLatin1(daemon::HelperNames::kService);
// Far above any helper build; a larger file is not ours.
constexpr qint64 kMaxHelperBytes = 256 * 1024 * 1024;

// One file to put down: its bytes as the script's own text, or (the helper,
// too large for that) a path root copies from and the digest the copy must
// have; where it goes and its mode.
struct Placement {
    QByteArray text;
    QString source;
    QByteArray sha256;
    QString destination;
    QString mode;
};

// The lines that make root's own copy of one file in the root-created folder
// $stage: written from the script's text, or copied without following a
// link and then compared with the digest the app took before it asked for
// the password. A file changed in between stops the install.
QStringList stagingLines(const Placement& file, int index)
{
    const QString staged = QStringLiteral("\"$stage/%1\"").arg(index);
    if (file.source.isEmpty())
        return {QStringLiteral("printf '%s' ") + RootScript::quote(QString::fromUtf8(file.text)) + QStringLiteral(" > ")
            + staged};
    const QString source = RootScript::quote(file.source);
    return {
        QStringLiteral("if ! timeout 120 dd if=") + source + QStringLiteral(" of=") + staged
            + QStringLiteral(" iflag=nofollow bs=1M status=none; then"),
        QStringLiteral("    echo 'Could not read the helper '") + source
            + QStringLiteral("' (a link is not followed).' >&2"),
        QStringLiteral("    exit 1"),
        QStringLiteral("fi"),
        QStringLiteral("if [ \"$(sha256sum < ") + staged + QStringLiteral(" | cut -d ' ' -f 1)\" != '")
            + QString::fromLatin1(file.sha256) + QStringLiteral("' ]; then"),
        QStringLiteral("    echo 'The helper '") + source
            + QStringLiteral("' changed after Quillon checked it; nothing was installed.' >&2"),
        QStringLiteral("    exit 1"),
        QStringLiteral("fi"),
    };
}

// Root's copy goes next to its destination under a temporary name.
QStringList placementLines(const Placement& file, int index)
{
    const QString next = RootScript::quote(file.destination + QStringLiteral(".new"));
    return {
        QStringLiteral("mkdir -p ") + RootScript::quote(QFileInfo(file.destination).path()),
        QStringLiteral("rm -f ") + next,
        QStringLiteral("cp \"$stage/%1\" ").arg(index) + next,
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
        QStringLiteral("umask 077"),
        // Root's own folder (mode 0700): what is checked in it stays as checked.
        QStringLiteral("stage=$(mktemp -d)"),
        // A run that stops early takes its half-copied files with it.
        QStringLiteral("discard() {"),
        QStringLiteral("    rm -rf \"$stage\""),
        QStringLiteral("    rm -f ") + pending.join(QLatin1Char(' ')),
        QStringLiteral("}"),
        QStringLiteral("trap 'status=$?; discard; exit $status' EXIT"),
    };
    for (int i = 0; i < files.size(); ++i)
        lines << stagingLines(files[i], i);
    lines << QStringLiteral("umask 022");
    for (int i = 0; i < files.size(); ++i)
        lines << placementLines(files[i], i);
    // Renames replace a running helper's executable, which a copy over it
    // cannot ("Text file busy"), and they start only once every copy worked.
    for (const Placement& file : files) {
        lines << QStringLiteral("mv -f ") + RootScript::quote(file.destination + QStringLiteral(".new"))
                + QLatin1Char(' ') + RootScript::quote(file.destination);
    }
    lines << QStringLiteral("trap - EXIT");
    lines << QStringLiteral("rm -rf \"$stage\"");
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

// One of the helper's data files that ship in the app, with the installed
// helper's path put in for its placeholder; empty with error set when missing.
QByteArray dataFile(const QString& resource, const QString& helperPath, QString& error)
{
    QFile source(QStringLiteral(":/helper-files/") + resource);
    if (!source.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("The app carries no %1").arg(resource);
        return {};
    }
    QByteArray text = source.readAll();
    text.replace("@QUILLON_HELPER_INSTALL_PATH@", helperPath.toUtf8());
    return text;
}

// The hex SHA-256 of a regular file of at most kMaxHelperBytes; empty with error set otherwise.
QByteArray digestOf(const QString& path, QString& error)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || QFileInfo(path).size() > kMaxHelperBytes || !file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("Could not read the helper %1").arg(path);
        return {};
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!hash.addData(&file)) {
        error = QStringLiteral("Could not read the helper %1: %2").arg(path, file.errorString());
        return {};
    }
    return hash.result().toHex();
}

} // namespace

HelperInstaller::HelperInstaller(platform::PrivilegedRunner& runner, QString bundledHelper, HelperLayout layout)
    : m_runner(runner)
    , m_bundledHelper(std::move(bundledHelper))
    , m_layout(std::move(layout))
{
}

QString HelperInstaller::bundledProgram(const QString& appDir, const QString& name)
{
    const QString beside = appDir + QLatin1Char('/') + name;
    const QString libexec = appDir + QStringLiteral("/../libexec/quillon/") + name;
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

    QString error;
    const QString helperPath = m_layout.helperPath();
    // Root copies the file itself, not a link to it that could be turned elsewhere.
    const QString source = QFileInfo(m_bundledHelper).canonicalFilePath();
    const QByteArray digest = digestOf(source, error);
    const auto data = [&](const QString& resource) {
        return error.isEmpty() ? dataFile(resource, helperPath, error) : QByteArray();
    };
    const QList<Placement> files{
        {{}, source, digest, helperPath, QStringLiteral("755")},
        {data(QStringLiteral("systemd/%1.service.in").arg(kName)), {}, {}, m_layout.unitPath(), QStringLiteral("644")},
        {data(QStringLiteral("dbus/%1.conf").arg(kName)), {}, {}, m_layout.busPolicyPath(), QStringLiteral("644")},
        {data(QStringLiteral("dbus/%1.service.in").arg(kName)), {}, {}, m_layout.activationPath(),
            QStringLiteral("644")},
        {data(QStringLiteral("polkit/%1.policy").arg(kName)), {}, {}, m_layout.polkitActionsPath(),
            QStringLiteral("644")},
    };
    if (!error.isEmpty()) {
        done(InstallResult::failed(error));
        return;
    }
    m_runner.run(installScript(files, m_layout),
        [done](const platform::PrivilegedRunner::Result& result) { done(InstallResult::from(result)); });
}

} // namespace quillon::app
