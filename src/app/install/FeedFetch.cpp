#include "FeedFetch.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <utility>

namespace quillon::app {

FeedFetch::FeedFetch(QUrl feed, int timeout, QObject* parent)
    : QObject(parent)
    , m_feed(std::move(feed))
    , m_network(new QNetworkAccessManager(this))
{
    // Hard: a server that trickles a byte at a time is never silent for
    // long, and each redirect would restart a transfer timeout.
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(timeout);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        if (m_reply)
            m_reply->abort();
    });
}

FeedFetch::~FeedFetch()
{
    if (m_reply)
        m_reply->abort();
}

void FeedFetch::start()
{
    QNetworkRequest request(m_feed);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setMaximumRedirectsAllowed(maxRedirects);
    m_reply = m_network->get(request);
    // Qt buffers no more than a feed may hold; onReadyRead drains it.
    m_reply->setReadBufferSize(maxBytes);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &FeedFetch::onMetaData);
    connect(m_reply, &QNetworkReply::readyRead, this, &FeedFetch::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &FeedFetch::onFinished);
    m_deadline.start();
}

void FeedFetch::onMetaData()
{
    // No feed is that big: not ours, or not a feed. Refused before any of it is read.
    const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
    if (length.isValid() && length.toLongLong() > maxBytes)
        m_reply->abort();
}

void FeedFetch::onReadyRead()
{
    m_body += m_reply->read(maxBytes + 1 - m_body.size());
    if (m_body.size() > maxBytes)
        m_reply->abort();
}

void FeedFetch::onFinished()
{
    m_deadline.stop();
    QNetworkReply* reply = std::exchange(m_reply, nullptr);
    reply->deleteLater();
    QByteArray body = std::exchange(m_body, {});
    if (reply->error() == QNetworkReply::NoError)
        body += reply->read(maxBytes + 1 - body.size());
    emit done(reply->error() == QNetworkReply::NoError && body.size() <= maxBytes ? body : QByteArray());
}

} // namespace quillon::app
