#include "HelperPoller.h"

#include "HelperLink.h"

namespace quillon::app {

HelperPoller::HelperPoller(HelperLink& link, bool startTimer, QObject* parent)
    : QObject(parent)
    , m_link(link)
{
    connect(&link, &HelperLink::statusArrived, this, &HelperPoller::statusArrived);
    connect(&link, &HelperLink::connectionLost, this,
        [this] { emit linkMessage(QStringLiteral("Helper-Verbindung verloren")); });
    connect(&link, &HelperLink::connectionInterrupted, this,
        [this] { emit linkMessage(QStringLiteral("Helper unterbrochen — verbinde neu")); });
    connect(&link, &HelperLink::requestFailed, this,
        [this](const QString& text) { emit linkMessage(QStringLiteral("XPC-Fehler: ") + text); });
    connect(&link, &HelperLink::requestSlow, this, [this] { emit linkMessage(slowHelperMessage()); });
    connect(&link, &HelperLink::connectionRestored, this, [this] { emit linkMessage(QString()); });

    connect(&m_timer, &GridTimer::timeout, this, &HelperPoller::tick);
    if (startTimer)
        m_timer.start();
}

QString HelperPoller::slowHelperMessage()
{
    return QStringLiteral("Helper antwortet langsam — warte weiter");
}

void HelperPoller::refresh()
{
    if (m_link.isOpen())
        m_link.getStatus(this, [this](const QVariantMap& status) { emit statusArrived(status); });
}

bool HelperPoller::setLiveView(const QString& source, bool shown)
{
    if (shown == m_liveViews.contains(source))
        return false;
    if (shown)
        m_liveViews.insert(source);
    else
        m_liveViews.remove(source);
    return true;
}

void HelperPoller::updateInterval(bool holding)
{
    setIntervalMs(holding || !m_liveViews.isEmpty() ? kFastIntervalMs : kRestIntervalMs);
}

void HelperPoller::setIntervalMs(int ms)
{
    if (ms == m_timer.interval())
        return;
    m_timer.setInterval(ms);
    emit intervalChanged();
}

} // namespace quillon::app
