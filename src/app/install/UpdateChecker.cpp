#include "UpdateChecker.h"

#include "HelperInstaller.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <utility>

#ifndef QUILLON_UPDATE_FEED_URL
#define QUILLON_UPDATE_FEED_URL ""
#endif

namespace quillon::app {

namespace {
constexpr int kFetcherGraceMs = 2000;
} // namespace

UpdateChecker::UpdateChecker(QUrl feed, QString currentVersion, QObject* parent, int timeout)
    : QObject(parent)
    , m_feed(std::move(feed))
    , m_currentVersion(currentVersion.isEmpty() ? QStringLiteral("0") : std::move(currentVersion))
    , m_timeout(timeout)
{
    // The fetcher keeps its own deadline; this one catches a fetcher that
    // hangs or never starts its clock.
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(m_timeout + kFetcherGraceMs);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        if (m_fetch)
            m_fetch->kill();
    });
}

UpdateChecker::~UpdateChecker()
{
    if (m_fetch)
        m_fetch->kill();
}

QUrl UpdateChecker::configuredFeed()
{
    if (qEnvironmentVariableIsSet("QUILLON_UPDATE_FEED"))
        return QUrl(qEnvironmentVariable("QUILLON_UPDATE_FEED"));
    return QUrl(QStringLiteral(QUILLON_UPDATE_FEED_URL));
}

QUrl UpdateChecker::homePage()
{
    return QUrl(QStringLiteral("https://quillon.org/"));
}

QString UpdateChecker::fetcherPath()
{
    return HelperInstaller::bundledProgram(
        QCoreApplication::applicationDirPath(), QStringLiteral("quillon-update-check"));
}

void UpdateChecker::check()
{
    if (!enabled() || m_fetch)
        return;
    m_body.clear();
    m_fetch = new QProcess(this);
    m_fetch->setStandardErrorFile(QProcess::nullDevice());
    connect(m_fetch, &QProcess::readyReadStandardOutput, this, &UpdateChecker::onOutput);
    connect(m_fetch, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        onFinished(status == QProcess::NormalExit && code == 0);
    });
    connect(m_fetch, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            onFinished(false);
    });
    m_deadline.start();
    m_fetch->start(fetcherPath(), {m_feed.toString(QUrl::FullyEncoded), QString::number(m_timeout)});
    emit changed();
}

void UpdateChecker::onOutput()
{
    m_body += m_fetch->read(maxFeedBytes + 1 - m_body.size());
    if (m_body.size() > maxFeedBytes)
        m_fetch->kill();
}

void UpdateChecker::onFinished(bool exitedWell)
{
    m_deadline.stop();
    QProcess* fetch = std::exchange(m_fetch, nullptr);
    fetch->disconnect(this);
    fetch->deleteLater();
    ++m_finished;
    QByteArray body = std::exchange(m_body, {});
    if (exitedWell)
        body += fetch->read(maxFeedBytes + 1 - body.size());
    else
        body.clear();
    const QJsonObject feed = QJsonDocument::fromJson(body).object();
    const QJsonValue shortVersion = feed.value(QLatin1String("shortVersion"));
    const QString offered
        = shortVersion.isString() ? shortVersion.toString() : feed.value(QLatin1String("version")).toString();
    m_lastAnswered = body.size() <= maxFeedBytes && isVersion(offered);
    if (m_lastAnswered) {
        if (compareVersions(offered, m_currentVersion) > 0) {
            m_latestVersion = offered;
            const QUrl url(feed.value(QLatin1String("url")).toString(), QUrl::StrictMode);
            // The download opens in the browser: web addresses only, never a
            // file, a script or another program's scheme.
            const bool web = url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
            m_downloadURL = url.isValid() && web && !url.host().isEmpty() ? url : QUrl();
            m_releaseNotes = feed.value(QLatin1String("notes")).toString();
        } else {
            m_latestVersion.clear();
            m_downloadURL = QUrl();
            m_releaseNotes.clear();
        }
    }
    emit changed();
    emit finished();
}

bool UpdateChecker::isVersion(const QString& text)
{
    // Anchored at the true end: "$" alone would let a trailing newline through.
    static const QRegularExpression version(
        QRegularExpression::anchoredPattern(QStringLiteral("[0-9]{1,9}(\\.[0-9]{1,9}){0,5}")));
    return version.match(text).hasMatch();
}

int UpdateChecker::compareVersions(const QString& a, const QString& b)
{
    // Runs of digits compare as numbers (leading zeros ignored), anything
    // else character by character; a version that is a prefix of the other is older.
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            const qsizetype startA = i;
            const qsizetype startB = j;
            while (i < a.size() && a[i].isDigit())
                ++i;
            while (j < b.size() && b[j].isDigit())
                ++j;
            QStringView runA = QStringView(a).mid(startA, i - startA);
            QStringView runB = QStringView(b).mid(startB, j - startB);
            while (runA.size() > 1 && runA.front() == u'0')
                runA = runA.mid(1);
            while (runB.size() > 1 && runB.front() == u'0')
                runB = runB.mid(1);
            if (runA.size() != runB.size())
                return runA.size() < runB.size() ? -1 : 1;
            if (const int order = runA.compare(runB); order != 0)
                return order < 0 ? -1 : 1;
            continue;
        }
        if (a[i] != b[j])
            return a[i] < b[j] ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size())
        return 1;
    return j < b.size() ? -1 : 0;
}

} // namespace quillon::app
