#pragma once

#include <QQuickView>
#include <QString>
#include <QVariantMap>
#include <memory>

class QQmlEngine;

namespace quillon::ui {

// A window holding one QML file, on the app's one QML engine: every window
// that exists shares it, and it goes with the last of them, so an app with
// no window open holds no QML at all. Errors in the file are logged. A
// window closed from inside its own QML is deleted with deleteLater().
class QmlView : public QObject {
public:
    // properties: the root's required properties, by name.
    QmlView(const QString& source, const QVariantMap& properties, QQuickView::ResizeMode mode);
    ~QmlView() override;

    QQuickView* get() const { return m_view.get(); }

    // The engine while any window uses it; null otherwise.
    static QQmlEngine* sharedEngine();

private:
    std::shared_ptr<QQmlEngine> m_engine; // declared first: it outlives the view
    std::unique_ptr<QQuickView> m_view;
};

} // namespace quillon::ui
