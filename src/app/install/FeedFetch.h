#pragma once

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

class QNetworkAccessManager;

namespace quillon::app {

// One GET of the update feed, within bounds: never from a cache, given up
// `timeout` ms after it started however the server trickles or redirects (at
// most maxRedirects), and a body over maxBytes refused (from its
// Content-Length before any of it is read). Only the update check's own
// short-lived process runs this, so the app never loads QtNetwork or a TLS
// library.
class FeedFetch : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 maxBytes = 64 * 1024;
    static constexpr int maxRedirects = 3;

    FeedFetch(QUrl feed, int timeout, QObject* parent = nullptr);
    ~FeedFetch() override;

    void start();

signals:
    // body: the whole answer; empty when there was none within the bounds.
    void done(const QByteArray& body);

private:
    void onMetaData();
    void onReadyRead();
    void onFinished();

    QUrl m_feed;
    QNetworkAccessManager* m_network;
    QPointer<QNetworkReply> m_reply;
    QTimer m_deadline;
    QByteArray m_body;
};

} // namespace quillon::app
