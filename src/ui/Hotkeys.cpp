#include "Hotkeys.h"

#include "app/Settings.h"

#include <QTimer>

namespace quillon::ui {

Hotkeys::Hotkeys(platform::GlobalShortcuts& shortcuts, QObject* parent)
    : QObject(parent)
    , m_shortcuts(shortcuts)
{
    connect(&m_shortcuts, &platform::GlobalShortcuts::activated, this, &Hotkeys::pressed);
    connect(&m_shortcuts, &platform::GlobalShortcuts::stateChanged, this, &Hotkeys::stateChanged);
}

Hotkeys::~Hotkeys()
{
    setEnabled(false);
}

QList<platform::GlobalShortcuts::Shortcut> Hotkeys::shortcuts()
{
    return {
        {QString::fromLatin1(keepAwakeId), QStringLiteral("Toggle Quillon's keep-awake"), 'k'},
        {QString::fromLatin1(fanBoostId), QStringLiteral("Toggle Quillon's fan control"), 'l'},
    };
}

void Hotkeys::setEnabled(bool on)
{
    if (on == m_installed)
        return;
    m_installed = on;
    emit stateChanged();
    if (on)
        m_shortcuts.registerShortcuts(shortcuts());
    else
        m_shortcuts.unregisterShortcuts();
}

void Hotkeys::followSetting(app::Settings& settings)
{
    setEnabled(settings.flag(app::Settings::Key::hotkeysEnabled));
    connect(&settings, &app::Settings::changed, this, [this, &settings](const QString& key) {
        if (key == QLatin1String(app::Settings::Key::hotkeysEnabled))
            setEnabled(settings.flag(app::Settings::Key::hotkeysEnabled));
    });
}

void Hotkeys::pressed(const QString& id)
{
    Action action;
    if (id == QLatin1String(keepAwakeId))
        action = Action::toggleKeepAwake;
    else if (id == QLatin1String(fanBoostId))
        action = Action::toggleFanBoost;
    else
        return;
    // Handed to a main-thread task: the handler never runs inside the
    // platform's event delivery (an X event filter, a D-Bus signal).
    QTimer::singleShot(0, this, [this, action] {
        if (m_installed && m_handler)
            m_handler(action);
    });
}

} // namespace quillon::ui
