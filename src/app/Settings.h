#pragma once

#include <QJsonArray>
#include <QObject>
#include <QSettings>
#include <QString>
#include <memory>
#include <optional>

namespace quillon::app {

// The user's settings: one QSettings file, every key with its default. A
// value that is missing, of the wrong type or corrupt reads as the default;
// each setter writes at once and announces the key through changed().
// Unreadable JSON lists are kept under "<key>.unreadable" before anything
// overwrites them, so a damaged file never silently loses a user's list.
// A write the file did not take (read-only, its folder gone) is not hidden:
// writeError() says so until a later write succeeds. A settings file that is
// a symbolic link (a dotfile manager's) is written through to its target.
//
// Main thread only, like every model.
class Settings : public QObject {
    Q_OBJECT
public:
    // The keys, as stored.
    struct Key {
        static constexpr const char* coolingMode = "fan.coolingMode";
        static constexpr const char* coolingProfile = "fan.coolingProfile";
        static constexpr const char* heatAlerts = "heatAlerts";
        static constexpr const char* lowBatteryAutoStop = "lowBatteryAutoStop";
        static constexpr const char* driveAliveEnabled = "drivealive.enabled";
        static constexpr const char* driveAliveDrives = "drivealive.drives";
        static constexpr const char* driveAliveInterval = "drivealive.interval";
        static constexpr const char* triggersEnabled = "trig.enabled";
        static constexpr const char* triggerOnAC = "trig.onAC";
        static constexpr const char* triggerExtDisplay = "trig.extDisplay";
        static constexpr const char* triggerApps = "trig.apps";
        static constexpr const char* triggerFullScreen = "trig.fullScreen";
        static constexpr const char* triggerMedia = "trig.media";
        static constexpr const char* triggerExcluded = "trig.excluded"; // desktop ids, a JSON array of strings
        static constexpr const char* hotkeysEnabled = "hotkeysEnabled";
        static constexpr const char* showTempInMenuBar = "showTempInMenuBar";
        static constexpr const char* appLanguage = "appLanguage";
        static constexpr const char* lastLaunchedBuild = "lastLaunchedBuild";
        static constexpr const char* loginChoiceMade = "loginChoiceMade";
        static constexpr const char* onboardingSeenVersion = "onboardingSeenVersion";
    };

    // The user's settings file (~/.config/quillon/Quillon.ini).
    explicit Settings(QObject* parent = nullptr);
    // A settings file of the caller's choosing (tests, tools).
    explicit Settings(const QString& iniPath, QObject* parent = nullptr);

    // Boolean keys; an unknown key reads false.
    bool flag(const char* key) const;
    void setFlag(const char* key, bool value);

    // "drivealive.interval": seconds, always positive.
    int driveAliveIntervalS() const;
    void setDriveAliveIntervalS(int seconds);

    // "fan.coolingMode": "manual" or "auto".
    QString coolingMode() const;
    void setCoolingMode(const QString& mode);
    // "fan.coolingProfile": "silent", "balanced" or "max".
    QString coolingProfile() const;
    void setCoolingProfile(const QString& kind);
    // "appLanguage": "de", "en" or "system".
    QString appLanguage() const;
    void setAppLanguage(const QString& language);

    // Free-text keys that may be absent ("lastLaunchedBuild", "onboardingSeenVersion").
    std::optional<QString> text(const char* key) const;
    void setText(const char* key, const QString& value);

    // JSON-array keys ("drivealive.drives", "trig.apps"), stored as bytes.
    QJsonArray jsonArray(const char* key) const;
    void setJsonArray(const char* key, const QJsonArray& value);
    // Keeps the key's stored value as it is under "<key>.unreadable" (unless
    // one is kept already): for a list of which some elements could not be
    // read, before the readable rest is written back.
    void keepUnreadable(const char* key) const;

    // Why the last write did not reach the file; empty when it did.
    QString writeError() const { return m_writeError; }

    // Where the settings live, for messages.
    QString fileName() const { return m_settings->fileName(); }

signals:
    void changed(const QString& key);

private:
    QString choice(const char* key, std::initializer_list<const char*> allowed, const char* fallback) const;
    void write(const char* key, const QVariant& value);

    std::unique_ptr<QSettings> m_settings;
    QString m_writeError;
};

} // namespace quillon::app
