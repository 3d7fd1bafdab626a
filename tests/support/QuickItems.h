#pragma once

#include <QMetaObject>
#include <QQuickItem>
#include <QQuickWindow>
#include <gtest/gtest.h>

namespace quillon::test {

// A QML scene's items found by objectName, and a user's clicks and flips on
// them. Searches from the window's content item, so open popups and dialogs
// (which live in the window's overlay) are found too.
class QuickItems {
public:
    explicit QuickItems(const QQuickWindow& window)
        : m_window(window)
    {
    }

    // Every item of that name, in the order they appear.
    QList<QQuickItem*> all(const QString& name) const
    {
        QList<QQuickItem*> found;
        QList<QQuickItem*> pending{m_window.contentItem()};
        while (!pending.isEmpty()) {
            QQuickItem* item = pending.takeFirst();
            if (item->objectName() == name)
                found.append(item);
            pending.append(item->childItems());
        }
        return found;
    }
    QQuickItem* item(const QString& name) const { return all(name).value(0); }
    // Any object of that name, items or not (a Popup or Dialog is not one).
    QObject* object(const QString& name) const { return m_window.contentItem()->findChild<QObject*>(name); }
    QString text(const QString& name) const
    {
        QQuickItem* it = item(name);
        return it ? it->property("text").toString() : QStringLiteral("<no %1>").arg(name);
    }
    QStringList texts(const QString& name) const
    {
        QStringList list;
        for (QQuickItem* it : all(name))
            list.append(it->property("text").toString());
        return list;
    }
    // Present and visible, with every item above it.
    bool shown(const QString& name) const
    {
        QQuickItem* it = item(name);
        return it && it->isVisible();
    }
    void click(const QString& name) const
    {
        QQuickItem* button = item(name);
        ASSERT_TRUE(button) << name.toStdString();
        QMetaObject::invokeMethod(button, "clicked");
    }
    // A user's flip of a switch: its state, then its handler.
    void flip(const QString& name) const
    {
        QQuickItem* control = item(name);
        ASSERT_TRUE(control) << name.toStdString();
        QMetaObject::invokeMethod(control, "toggle");
        QMetaObject::invokeMethod(control, "toggled");
    }

private:
    const QQuickWindow& m_window;
};

} // namespace quillon::test
