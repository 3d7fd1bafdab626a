#include "DriveView.h"

#include "PanelTexts.h"
#include "app/power/DriveManager.h"

#include <algorithm>

namespace quillon::ui {

namespace {

QVariantMap entry(const app::DriveItem& item)
{
    return {{"path", item.path}, {"name", item.name}};
}

} // namespace

DriveView::DriveView(app::DriveManager& drives, QObject* parent)
    : QObject(parent)
    , m_drives(drives)
{
    connect(&drives, &app::DriveManager::drivesChanged, this, &DriveView::changed);
    connect(&drives, &app::DriveManager::reachabilityChanged, this, &DriveView::changed);
    connect(&drives, &app::DriveManager::availableDrivesChanged, this, &DriveView::changed);
}

QVariantList DriveView::chosen() const
{
    QVariantList list;
    for (const app::DriveItem& item : m_drives.drives()) {
        QVariantMap chosen = entry(item);
        chosen.insert(QStringLiteral("reachable"), m_drives.reachable(item.path));
        list.append(chosen);
    }
    return list;
}

QVariantList DriveView::addable() const
{
    QVariantList list;
    for (const app::DriveItem& candidate : m_drives.availableDrives()) {
        const bool taken = std::any_of(m_drives.drives().begin(), m_drives.drives().end(),
            [&](const app::DriveItem& item) { return item.path == candidate.path; });
        if (!taken)
            list.append(entry(candidate));
    }
    return list;
}

QVariantList DriveView::intervals() const
{
    QVariantList list;
    for (const int seconds : kIntervals)
        list.append(QVariantMap{{"label", PanelTexts::durationLabel(seconds)}, {"seconds", seconds}});
    return list;
}

void DriveView::refresh()
{
    m_drives.refreshAvailableDrives();
}

void DriveView::add(const QString& path, const QString& name)
{
    m_drives.add({path, name});
}

void DriveView::remove(const QString& path)
{
    const QList<app::DriveItem>& drives = m_drives.drives();
    const auto found
        = std::find_if(drives.begin(), drives.end(), [&](const app::DriveItem& item) { return item.path == path; });
    if (found == drives.end())
        return;
    // A copy: removing changes the list the item lives in.
    const app::DriveItem item = *found;
    m_drives.remove(item);
}

} // namespace quillon::ui
