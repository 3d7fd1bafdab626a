#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>

namespace quillon::app {

// The app's line to the privileged fan helper. A connection is either open or
// not; it opens only through connectIfNeeded() and closes when the helper goes
// away, when a call fails, or through invalidate().
//
// Every request takes a context object: the reply runs on the main thread,
// and never once the context is gone. Requests made while no connection is
// open are dropped without a reply.
class HelperLink : public QObject {
    Q_OBJECT
public:
    using StatusReply = std::function<void(const QVariantMap& status)>;
    using Reply = std::function<void(bool ok, const QString& text)>;

    using QObject::QObject;

    // Whether the helper is there to be talked to (running, or startable on demand).
    virtual bool helperAvailable() = 0;

    // Opens the connection if none is open; a fresh connection asks for the
    // status once and delivers it through statusArrived().
    virtual void connectIfNeeded() = 0;
    virtual bool isOpen() const = 0;
    // Drops the connection (a later connectIfNeeded() opens a new one).
    virtual void invalidate() = 0;

    virtual void getStatus(QObject* context, StatusReply reply) = 0;
    virtual void setFanFloor(double percent, QObject* context, Reply reply) = 0;
    virtual void stopBoost(QObject* context, Reply reply) = 0;
    virtual void setLidStayAwake(bool on, QObject* context, Reply reply) = 0;

signals:
    // The status fetched when a connection opened.
    void statusArrived(const QVariantMap& status);
    // The helper went away; the connection is closed.
    void connectionLost();
    // The helper was replaced by a new instance; the connection stays open.
    void connectionInterrupted();
    // A request failed; the connection is closed. text says why.
    void requestFailed(const QString& text);
    // A request got no answer in time; the helper is busy, not gone, and
    // the connection stays open.
    void requestSlow();
    // The helper's name came back after it went away (a restart); the
    // connection is open again and the status was asked for.
    void connectionRestored();
};

} // namespace quillon::app
