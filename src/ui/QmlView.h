#pragma once

#include <QQuickView>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <memory>

class QQmlEngine;

namespace quillon::ui {

// A window holding one QML file, on the app's one QML engine: every window
// that exists shares it, and it goes with the last of them, so an app with
// no window open holds no QML at all. Errors in the file are logged. A
// window closed from inside its own QML is deleted with deleteLater().
class QmlView : public QObject {
    Q_OBJECT
public:
    // properties: the root's required properties, by name.
    QmlView(const QString& source, const QVariantMap& properties, QQuickView::ResizeMode mode);
    ~QmlView() override;

    QQuickView* get() const { return m_view.get(); }

    // expired() comes once the window has been hidden for ms, after each
    // time it is hidden; its owner then deletes it to give its memory back.
    void expireWhenHiddenFor(int ms);

    // The engine while any window uses it; null otherwise.
    static QQmlEngine* sharedEngine();

signals:
    void expired();

private:
    std::shared_ptr<QQmlEngine> m_engine; // declared first: it outlives the view
    std::unique_ptr<QQuickView> m_view;
    QTimer m_expiry;
};

} // namespace quillon::ui
