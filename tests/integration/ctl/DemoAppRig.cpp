#include "DemoAppRig.h"

#include "support/Files.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QSettings>

namespace quillon::test {

DemoAppRig::DemoAppRig()
{
    ensureCoreApplication();
    QDir(home.path()).mkpath(QStringLiteral("runtime"));
    QDir(home.path()).mkpath(QStringLiteral("tmp"));
    QFile::setPermissions(home.path() + "/runtime", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QStringList DemoAppRig::environment() const
{
    return {"DBUS_SESSION_BUS_ADDRESS=" + bus.address(), "DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address(),
        "HOME=" + home.path(), "XDG_CONFIG_HOME=" + home.path() + "/config",
        "XDG_RUNTIME_DIR=" + home.path() + "/runtime", "TMPDIR=" + temporaryDirectory(), "QUILLON_HELPER_BUS",
        "QUILLON_SMC",
        // No update check leaves the machine unless a test serves a feed.
        "QUILLON_UPDATE_FEED="};
}

QString DemoAppRig::temporaryDirectory() const
{
    return home.path() + "/tmp";
}

QString DemoAppRig::demoDirectory()
{
    // "Quillon demo: ... are running (DIRECTORY)."
    const QString start = QStringLiteral("Quillon demo:");
    if (!app.waitForLine(start, 2s))
        return {};
    const QStringList announcement = app.lines().filter(start);
    const QString& line = announcement.first();
    const qsizetype open = line.lastIndexOf(QLatin1Char('('));
    const qsizetype close = line.lastIndexOf(QLatin1Char(')'));
    return open >= 0 && close > open ? line.mid(open + 1, close - open - 1) : QString();
}

QString DemoAppRig::userSettingsFile() const
{
    return home.path() + "/config/quillon/Quillon.ini";
}

void DemoAppRig::setUserSetting(const QString& key, const QVariant& value)
{
    QSettings settings(userSettingsFile(), QSettings::IniFormat);
    settings.setValue(key, value);
}

bool DemoAppRig::start(const QStringList& env)
{
    if (!bus.ready() || !systemBus.ready())
        return false;
    if (seedOnboarding)
        setUserSetting("onboardingSeenVersion", QUILLON_VERSION);
    if (withLogind && RealLogind::canRun()) {
        logind = std::make_unique<RealLogind>(systemBus);
        if (!logind->started())
            return false;
    } else if (withLogind) {
        logindStandIn = std::make_unique<BusService>(
            QUILLON_PYTHON, QStringList{"-m", "dbusmock", "--template", "logind"}, systemBus, "org.freedesktop.login1");
        if (!logindStandIn->started())
            return false;
    }
    app.start(QUILLON_APP_BIN, {"--demo"}, environment() + env, home.path() + "/app.log");
    return waitUntil([&] { return !app.running() || !status().isEmpty(); }, 20s) && app.running();
}

std::string DemoAppRig::log() const
{
    return readFile(home.path() + "/app.log").toStdString();
}

ChildProcess::Result DemoAppRig::ctl(const QStringList& args) const
{
    return ChildProcess::run(QUILLON_APP_BIN, QStringList{"ctl"} + args, environment());
}

QJsonObject DemoAppRig::status() const
{
    const auto result = ctl({"status"});
    return result.exitCode == 0 ? QJsonDocument::fromJson(QByteArray::fromStdString(result.out)).object()
                                : QJsonObject();
}

QList<qint64> DemoAppRig::children() const
{
    return processesWhere([&](qint64 pid) {
        const QStringList fields = processStat(pid);
        return fields.size() > 1 && fields[1].toLongLong() == app.pid() && fields[0] != QLatin1String("Z");
    });
}

} // namespace quillon::test
