#pragma once

#include "app/install/InstallResult.h"

#include <QObject>
#include <QString>
#include <functional>

namespace quillon::app {

class HelperLink;

// Whether the fan helper is installed and current, and its installation:
// runs the installer at most once at a time and, after a success, makes the
// link connect to the new copy. What the status line should say about it
// comes out of message() (German, as the link's other messages); a change
// of installed, needsUpdate or installing out of changed(). Main thread only.
class HelperInstall : public QObject {
    Q_OBJECT
public:
    // Runs the helper installer; calls done with the outcome, on the main thread.
    using Installer = std::function<void(std::function<void(InstallResult)> done)>;

    // link must outlive this. installer may be empty (this build has none).
    // When both bundledPath and installedPath read, needsUpdate is whether
    // their bytes differ.
    HelperInstall(HelperLink& link, Installer installer, const QString& bundledPath, const QString& installedPath,
        QObject* parent = nullptr);

    bool installed() const { return m_installed; }
    bool needsUpdate() const { return m_needsUpdate; }
    // The installer is running (waiting for the password, or at work).
    bool installing() const { return m_installing; }

    // Runs the installer; done, when given, hears the outcome once. Without
    // an installer, or while one runs, done hears `failed` at once.
    void run(std::function<void(const InstallResult&)> done);

signals:
    void changed();
    void message(const QString& text);

private:
    void finished(const InstallResult& result);

    HelperLink& m_link;
    Installer m_installer;
    bool m_installed = false;
    bool m_needsUpdate = false;
    bool m_installing = false;
};

} // namespace quillon::app
