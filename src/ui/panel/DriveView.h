#pragma once

#include <QObject>
#include <QVariantList>

namespace quillon::app {
class DriveManager;
}

namespace quillon::ui {

// The drives section's view: the chosen drives, the mounted external ones
// that can still be added (listed afresh each time the section opens: the
// last list shows until the system has answered), and the touch intervals
// offered.
class DriveView : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList chosen READ chosen NOTIFY changed)
    Q_PROPERTY(QVariantList addable READ addable NOTIFY changed)
    Q_PROPERTY(QVariantList intervals READ intervals CONSTANT)

public:
    // The touch intervals offered, in seconds.
    static constexpr int kIntervals[] = {30, 60, 120, 300, 600};

    explicit DriveView(app::DriveManager& drives, QObject* parent = nullptr);

    // {path, name, reachable} of each chosen drive.
    QVariantList chosen() const;
    // {path, name} of each mounted external drive not chosen yet.
    QVariantList addable() const;
    // {label, seconds}.
    QVariantList intervals() const;

    // Lists the mounted external drives again; changed() follows the answer.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void add(const QString& path, const QString& name);
    Q_INVOKABLE void remove(const QString& path);

signals:
    void changed();

private:
    app::DriveManager& m_drives;
};

} // namespace quillon::ui
