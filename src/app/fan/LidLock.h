#pragma once

#include "HelperLink.h"

#include <QObject>

namespace quillon::app {

class HelperPoller;

// The helper's lid lock as the app wants it. The wish is recorded before a
// request goes out, so that the self-heal compares the helper's state with
// it, and holding it speeds the poll up at once (the helper's watchdog must
// be fed every second). Main thread only; link and poller must outlive it.
class LidLock : public QObject {
    Q_OBJECT
public:
    LidLock(HelperLink& link, HelperPoller& poller, QObject* parent = nullptr);

    bool wanted() const { return m_wanted; }
    // Holds (on) or releases the lock; done, when given, hears the helper's
    // answer (false with its reason, also when the helper cannot be reached).
    void set(bool on, HelperLink::Reply done);
    // The app no longer wants the lock (nothing is sent).
    void forget() { m_wanted = false; }
    // The app no longer wants the lock and tells the helper so (connecting
    // if need be); the answer does not matter, the next status shows it.
    void release();

private:
    HelperLink& m_link;
    HelperPoller& m_poller;
    bool m_wanted = false;
};

} // namespace quillon::app
