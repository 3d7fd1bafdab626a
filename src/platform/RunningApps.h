#pragma once

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>

namespace quillon::platform {

// The user's installed applications and which of them run. An application
// is named by its desktop-entry id ("org.kde.kdenlive", "resolve"): the id
// the automation rules store and match.
class RunningApps : public QObject {
    Q_OBJECT
public:
    struct App {
        QString id;
        QString name;
        QString icon;            // an icon theme name or an absolute path; may be empty
        QString germanName = {}; // the entry's Name[de]; empty when it has none
    };

    using QObject::QObject;

    // Of these ids, those of which one of the user's processes runs now. An
    // id that names no installed application may still match (a Flatpak or
    // an app scope of that id); anything unreadable reads as not running.
    // May take long (Linux reads /proc): not for the GUI thread.
    virtual QSet<QString> running(const QStringList& ids) = 0;
    // The same answer through found(), where it costs the caller nothing:
    // Linux reads on a worker thread; this default answers at once.
    virtual void lookUp(const QStringList& ids) { emit found(running(ids)); }
    // The applications a menu offers, sorted by name.
    virtual QList<App> installed() = 0;
    // One installed application, shown in menus or not; none when no entry has this id.
    virtual std::optional<App> find(const QString& id) = 0;
    // Of these ids, the first whose application a window belongs to: its
    // process (pid, 0 when unknown) matched as running() matches, or its
    // class the entry's StartupWMClass or the id's last part; empty when none.
    virtual QString appOfWindow(qint64 pid, const QString& windowClass, const QStringList& ids) = 0;

signals:
    // The system announced that an application started or ended. Without
    // such announcements, callers poll.
    void changed();
    // The answer to a lookUp(), in the order asked.
    void found(const QSet<QString>& running);
};

} // namespace quillon::platform
