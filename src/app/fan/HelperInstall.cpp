#include "HelperInstall.h"

#include "HelperLink.h"

#include <QCoreApplication>
#include <QFile>
#include <QPointer>
#include <optional>
#include <utility>

namespace quillon::app {

namespace {

std::optional<QByteArray> readWhole(const QString& path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

// The fan model's translation context, where the text has always been.
QString noInstallerText()
{
    return QCoreApplication::translate("quillon::app::FanController", "this build has no helper installer");
}

} // namespace

HelperInstall::HelperInstall(
    HelperLink& link, Installer installer, const QString& bundledPath, const QString& installedPath, QObject* parent)
    : QObject(parent)
    , m_link(link)
    , m_installer(std::move(installer))
    , m_installed(link.helperAvailable())
{
    // Byte identity is the rule: any difference means the installed copy is stale.
    if (m_installed) {
        const auto bundled = readWhole(bundledPath);
        const auto current = readWhole(installedPath);
        m_needsUpdate = bundled && current && *bundled != *current;
    }
}

void HelperInstall::run(std::function<void(const InstallResult&)> done)
{
    if (!m_installer) {
        emit message(QStringLiteral("Fehler: ") + noInstallerText());
        if (done)
            done(InstallResult::failed(noInstallerText()));
        return;
    }
    if (m_installing) {
        if (done)
            done(InstallResult::failed(QStringLiteral("an installation is already under way")));
        return;
    }
    m_installing = true;
    emit changed();
    QPointer<HelperInstall> self(this);
    m_installer([self, done](const InstallResult& result) {
        if (self)
            self->finished(result);
        if (done)
            done(result);
    });
}

void HelperInstall::finished(const InstallResult& result)
{
    m_installing = false;
    emit changed();
    switch (result.kind) {
    case InstallResult::Kind::success:
        m_installed = true;
        m_needsUpdate = false;
        emit message(QStringLiteral("Helper installiert"));
        m_link.invalidate();
        m_link.connectIfNeeded();
        break;
    case InstallResult::Kind::cancelled:
        emit message(QStringLiteral("Installation abgebrochen"));
        break;
    case InstallResult::Kind::failed:
        emit message(QStringLiteral("Fehler: ") + result.message);
        break;
    }
}

} // namespace quillon::app
