#include "Uninstaller.h"

#include "RootScript.h"
#include "platform/PrivilegedRunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace quillon::app {

namespace {

QStringList appRemoval(const AppOrigin& origin)
{
    switch (origin.kind) {
    case AppOrigin::Kind::package:
        return {QStringLiteral("DEBIAN_FRONTEND=noninteractive dpkg --purge ") + RootScript::quote(origin.package)
            + QStringLiteral(" || true")};
    case AppOrigin::Kind::localInstall: {
        // rm -f takes a link itself, never what it points to.
        QStringList lines;
        for (const QString& file : origin.files)
            lines << QStringLiteral("rm -f ") + RootScript::quote(file);
        // Folders of ours the install made and left empty now; shared ones stay.
        for (const QString& dir : origin.ownFolders())
            lines << QStringLiteral("rmdir ") + RootScript::quote(dir) + QStringLiteral(" 2>/dev/null || true");
        return lines;
    }
    case AppOrigin::Kind::buildTree:
        break;
    }
    return {};
}

QString removalScript(const AppOrigin& origin, const HelperLayout& layout)
{
    QStringList lines{RootScript::unitCommand(layout, QStringLiteral("disable"))};
    lines << RootScript::stopHelper(layout);
    for (const QString& file : layout.files())
        lines << QStringLiteral("rm -f ") + RootScript::quote(file);
    lines << QStringLiteral("rmdir ") + RootScript::quote(layout.helperDir()) + QStringLiteral(" 2>/dev/null || true");
    lines << RootScript::reload(layout);
    lines << appRemoval(origin);
    lines << QStringLiteral("exit 0");
    return RootScript::join(lines);
}

// A link goes as a link: what it points to is not ours to delete.
void removeTree(const QString& path)
{
    if (path.isEmpty())
        return;
    const QFileInfo item(path);
    if (item.isDir() && !item.isSymLink())
        QDir(path).removeRecursively();
    else
        QFile::remove(path);
}

} // namespace

Uninstaller::Uninstaller(platform::PrivilegedRunner& runner, AppOrigin origin, HelperLayout layout)
    : Uninstaller(runner, QtFuture::makeReadyFuture(std::move(origin)), std::move(layout))
{
}

Uninstaller::Uninstaller(platform::PrivilegedRunner& runner, QFuture<AppOrigin> origin, HelperLayout layout)
    : m_runner(runner)
    , m_origin(std::move(origin))
    , m_watcher(std::make_unique<QFutureWatcher<AppOrigin>>())
    , m_layout(std::move(layout))
{
    m_watcher->setFuture(m_origin);
}

Uninstaller::~Uninstaller() = default;

AppOrigin Uninstaller::origin() const
{
    return m_origin.isFinished() && m_origin.resultCount() > 0 ? m_origin.result() : AppOrigin{};
}

void Uninstaller::whenOriginKnown(QObject* context, std::function<void()> then)
{
    if (!originKnown())
        QObject::connect(m_watcher.get(), &QFutureWatcherBase::finished, context, std::move(then));
}

void Uninstaller::performPrivilegedRemoval(Done done)
{
    if (!originKnown()) {
        QObject::connect(
            m_watcher.get(), &QFutureWatcherBase::finished, m_watcher.get(),
            [this, done] { performPrivilegedRemoval(done); }, Qt::SingleShotConnection);
        return;
    }
    const AppOrigin origin = this->origin();
    m_runner.run(removalScript(origin, m_layout), [done](const platform::PrivilegedRunner::Result& result) {
        InstallResult outcome = InstallResult::from(result);
        if (outcome.kind == InstallResult::Kind::failed && outcome.message.isEmpty())
            outcome.message = QStringLiteral("unbekannter Fehler");
        done(outcome);
    });
}

void Uninstaller::clearUserTraces(const UserTraces& traces)
{
    if (!traces.settingsFile.isEmpty()) {
        // With the copies the settings check set aside (SettingsFileCheck).
        for (const char* suffix : {"", ".unreadable", ".corrupt"})
            removeTree(traces.settingsFile + QLatin1String(suffix));
        QDir().rmdir(QFileInfo(traces.settingsFile).path());
    }
    removeTree(traces.autostartEntry);
    removeTree(traces.cacheDir);
}

} // namespace quillon::app
