#include "Settings.h"

#include "SettingsFileCheck.h"

#include <QDebug>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QStandardPaths>
#include <array>
#include <cstring>
#include <utility>

namespace quillon::app {

namespace {

using Key = Settings::Key;

// Every Boolean key with its default.
constexpr std::array<std::pair<const char*, bool>, 11> kFlagDefaults{{
    {Key::heatAlerts, true},
    {Key::lowBatteryAutoStop, true},
    {Key::driveAliveEnabled, false},
    {Key::triggersEnabled, false},
    {Key::triggerOnAC, false},
    {Key::triggerExtDisplay, false},
    {Key::triggerFullScreen, false},
    {Key::triggerMedia, false},
    {Key::hotkeysEnabled, true},
    {Key::showTempInMenuBar, false},
    {Key::loginChoiceMade, false},
}};

constexpr int kDefaultDriveIntervalS = 60;

bool flagDefault(const char* key)
{
    for (const auto& [name, value] : kFlagDefaults) {
        if (std::strcmp(name, key) == 0)
            return value;
    }
    return false;
}

// QSettings' INI files keep no types: a Boolean comes back as the text "true"
// or "false". Anything else is not a Boolean.
std::optional<bool> asBool(const QVariant& value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (value.typeId() == QMetaType::QString) {
        if (value.toString() == QLatin1String("true"))
            return true;
        if (value.toString() == QLatin1String("false"))
            return false;
    }
    return std::nullopt;
}

} // namespace

Settings::Settings(QObject* parent)
    : Settings(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
            + QStringLiteral("/quillon/Quillon.ini"),
        parent)
{
}

Settings::Settings(const QString& iniPath, QObject* parent)
    : QObject(parent)
{
    // Checked before QSettings opens it: a FIFO there would block the read.
    if (const QString note = SettingsFileCheck::prepare(iniPath); !note.isEmpty())
        qWarning().noquote() << "Quillon:" << note;
    // A link (a dotfile manager's) is written through: QSettings would
    // replace the link itself with a file.
    const QFileInfo info(iniPath);
    m_settings = std::make_unique<QSettings>(
        info.isSymLink() && info.exists() ? info.canonicalFilePath() : iniPath, QSettings::IniFormat);
    if (const QString note = SettingsFileCheck::preserveIfUnparsable(*m_settings); !note.isEmpty())
        qWarning().noquote() << "Quillon:" << note;
}

void Settings::write(const char* key, const QVariant& value)
{
    if (!m_writeError.isEmpty()) {
        // QSettings keeps its first error for good: a fresh one, given every
        // value the old one holds, tells whether this write reaches the file.
        auto fresh = std::make_unique<QSettings>(m_settings->fileName(), QSettings::IniFormat);
        for (const QString& name : m_settings->allKeys())
            fresh->setValue(name, m_settings->value(name));
        m_settings = std::move(fresh);
    }
    m_settings->setValue(key, value);
    m_settings->sync();
    const QString error = m_settings->status() != QSettings::AccessError
        ? QString()
        : QStringLiteral("the settings file %1 cannot be written").arg(m_settings->fileName());
    if (!error.isEmpty() && error != m_writeError)
        qWarning().noquote() << "Quillon:" << error;
    m_writeError = error;
    emit changed(QString::fromLatin1(key));
}

bool Settings::flag(const char* key) const
{
    return asBool(m_settings->value(key)).value_or(flagDefault(key));
}

void Settings::setFlag(const char* key, bool value)
{
    write(key, value);
}

int Settings::driveAliveIntervalS() const
{
    bool ok = false;
    const QVariant value = m_settings->value(Key::driveAliveInterval);
    const int seconds = value.typeId() == QMetaType::QString || value.typeId() == QMetaType::Int ? value.toInt(&ok) : 0;
    return ok && seconds > 0 ? seconds : kDefaultDriveIntervalS;
}

void Settings::setDriveAliveIntervalS(int seconds)
{
    write(Key::driveAliveInterval, seconds > 0 ? seconds : kDefaultDriveIntervalS);
}

QString Settings::choice(const char* key, std::initializer_list<const char*> allowed, const char* fallback) const
{
    const QVariant value = m_settings->value(key);
    if (value.typeId() == QMetaType::QString) {
        for (const char* candidate : allowed) {
            if (value.toString() == QLatin1String(candidate))
                return value.toString();
        }
    }
    return QString::fromLatin1(fallback);
}

QString Settings::coolingMode() const
{
    return choice(Key::coolingMode, {"manual", "auto"}, "auto");
}

void Settings::setCoolingMode(const QString& mode)
{
    write(Key::coolingMode, mode);
}

QString Settings::coolingProfile() const
{
    return choice(Key::coolingProfile, {"silent", "balanced", "max"}, "balanced");
}

void Settings::setCoolingProfile(const QString& kind)
{
    write(Key::coolingProfile, kind);
}

QString Settings::appLanguage() const
{
    return choice(Key::appLanguage, {"de", "en", "system"}, "system");
}

void Settings::setAppLanguage(const QString& language)
{
    write(Key::appLanguage, language);
}

std::optional<QString> Settings::text(const char* key) const
{
    const QVariant value = m_settings->value(key);
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

void Settings::setText(const char* key, const QString& value)
{
    write(key, value);
}

QJsonArray Settings::jsonArray(const char* key) const
{
    const QVariant value = m_settings->value(key);
    if (!value.isValid())
        return {};
    const QByteArray bytes = value.typeId() == QMetaType::QByteArray ? value.toByteArray() : value.toString().toUtf8();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error == QJsonParseError::NoError && document.isArray())
        return document.array();
    keepUnreadable(key);
    return {};
}

void Settings::keepUnreadable(const char* key) const
{
    const QString keep = QString::fromLatin1(key) + ".unreadable";
    if (m_settings->contains(keep))
        return;
    m_settings->setValue(keep, m_settings->value(key));
    m_settings->sync();
}

void Settings::setJsonArray(const char* key, const QJsonArray& value)
{
    write(key, QJsonDocument(value).toJson(QJsonDocument::Compact));
}

} // namespace quillon::app
