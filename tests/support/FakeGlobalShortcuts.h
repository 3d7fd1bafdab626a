#pragma once

#include "platform/GlobalShortcuts.h"

namespace quillon::test {

// Global shortcuts that are held at once when registered, unless the test
// sets a refusal; presses are the test's to make.
class FakeGlobalShortcuts : public platform::GlobalShortcuts {
public:
    int registrations = 0;
    int unregistrations = 0;
    QList<Shortcut> registered;
    QString refusal; // non-empty: registering fails with this problem

    void registerShortcuts(const QList<Shortcut>& shortcuts) override
    {
        ++registrations;
        registered = shortcuts;
        emit stateChanged();
    }
    void unregisterShortcuts() override
    {
        ++unregistrations;
        registered.clear();
        emit stateChanged();
    }
    State state() const override
    {
        if (registered.isEmpty())
            return {};
        if (!refusal.isEmpty())
            return {false, false, {}, refusal};
        return {true, false, QStringLiteral("fake"), {}};
    }
    void press(const QString& id) { emit activated(id); }
};

} // namespace quillon::test
