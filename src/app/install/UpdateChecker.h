#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

class QProcess;

namespace quillon::app {

// Asks the project's update feed, once at launch and when the user asks,
// whether a newer version exists, and publishes it with its download address
// and release notes. Nothing is downloaded or installed.
//
// One request at a time, never from a cache, given up 10 s after it started
// however the server trickles or redirects (at most maxRedirects); a body
// over maxFeedBytes (refused from its Content-Length before any of it is
// read), a transport error or anything but a JSON object with a version of
// dot-separated numbers is silent and leaves the published values as they
// were. Results arrive on the main thread. Each check runs in a process of
// its own (quillon-update-check), so neither QtNetwork nor a TLS library is
// ever loaded into the app; its output is read up to maxFeedBytes and it is
// killed if it outlives its deadline.
class UpdateChecker : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString latestVersion READ latestVersion NOTIFY changed)
    Q_PROPERTY(QUrl downloadURL READ downloadURL NOTIFY changed)
    Q_PROPERTY(QString releaseNotes READ releaseNotes NOTIFY changed)
    Q_PROPERTY(QUrl downloadTarget READ downloadTarget NOTIFY changed)
    Q_PROPERTY(bool checking READ checking NOTIFY changed)
    Q_PROPERTY(bool enabled READ enabled CONSTANT)

public:
    static constexpr int timeoutMs = 10000;
    static constexpr qint64 maxFeedBytes = 64 * 1024;
    static constexpr int maxRedirects = 3;

    // feed: the feed's address; empty switches checking off (a distribution
    // build, whose updates come from its package manager). currentVersion:
    // the running version. timeout: how long a check may take in all,
    // redirects included, in ms (shorter in tests).
    UpdateChecker(QUrl feed, QString currentVersion, QObject* parent = nullptr, int timeout = timeoutMs);
    ~UpdateChecker() override;

    // The build's feed, unless QUILLON_UPDATE_FEED names another (empty: none).
    static QUrl configuredFeed();
    // The program that fetches the feed, shipped with the app.
    static QString fetcherPath();
    // The project's home page, opened when an update names no download.
    static QUrl homePage();

    bool enabled() const { return m_feed.isValid() && !m_feed.isEmpty(); }
    QString latestVersion() const { return m_latestVersion; }
    QUrl downloadURL() const { return m_downloadURL; }
    QString releaseNotes() const { return m_releaseNotes; }
    // What the download action opens: the update's address, else the home page.
    QUrl downloadTarget() const { return m_downloadURL.isValid() ? m_downloadURL : homePage(); }
    bool checking() const { return m_fetch != nullptr; }
    // How many checks have finished, answered or not (for `ctl update check`).
    int finishedChecks() const { return m_finished; }
    // Whether the last finished check read a version from the feed.
    bool lastAnswered() const { return m_lastAnswered; }

    // Starts one check unless one is running, or checking is off.
    Q_INVOKABLE void check();

    // Whether a feed's version is one: dot-separated numbers ("1.10.2").
    static bool isVersion(const QString& text);
    // -1, 0 or 1 as a is older than, the same as or newer than b, comparing
    // dot-separated parts as numbers where they are numbers ("1.10" > "1.9").
    static int compareVersions(const QString& a, const QString& b);

signals:
    void changed();
    // A check ended, whatever its outcome.
    void finished();

private:
    void onOutput();
    void onFinished(bool exitedWell);

    QUrl m_feed;
    QString m_currentVersion;
    int m_timeout;
    QProcess* m_fetch = nullptr; // the running check's
    QTimer m_deadline;
    QByteArray m_body; // what the running check has read so far
    QString m_latestVersion;
    QUrl m_downloadURL;
    QString m_releaseNotes;
    int m_finished = 0;
    bool m_lastAnswered = false;
};

} // namespace quillon::app
