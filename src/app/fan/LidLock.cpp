#include "LidLock.h"

#include "HelperPoller.h"

#include <QCoreApplication>
#include <utility>

namespace quillon::app {

LidLock::LidLock(HelperLink& link, HelperPoller& poller, QObject* parent)
    : QObject(parent)
    , m_link(link)
    , m_poller(poller)
{
}

void LidLock::set(bool on, HelperLink::Reply done)
{
    m_wanted = on;
    if (on)
        m_poller.pollFast();
    m_link.connectIfNeeded();
    if (!m_link.isOpen()) {
        // The fan model's translation context, where the text has always been.
        if (done)
            done(false, QCoreApplication::translate("quillon::app::FanController", "the fan helper cannot be reached"));
        return;
    }
    m_link.setLidStayAwake(on, this, [done = std::move(done)](bool ok, const QString& text) {
        if (done)
            done(ok, text);
    });
}

void LidLock::release()
{
    m_wanted = false;
    m_link.connectIfNeeded();
    m_link.setLidStayAwake(false, this, [](bool, const QString&) {});
}

} // namespace quillon::app
