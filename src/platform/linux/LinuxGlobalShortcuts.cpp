#include "LinuxGlobalShortcuts.h"

#include "PortalGlobalShortcuts.h"
#include "X11GlobalShortcuts.h"

namespace quillon::platform::linux_ {

LinuxGlobalShortcuts::LinuxGlobalShortcuts(
    QDBusConnection sessionBus, int portalAnswerMs, int confirmMs, QObject* parent)
    : GlobalShortcuts(parent)
    , m_portal(std::make_unique<PortalGlobalShortcuts>(std::move(sessionBus), portalAnswerMs))
    , m_portalAnswerMs(portalAnswerMs)
    , m_confirmMs(confirmMs)
{
    connect(m_portal.get(), &GlobalShortcuts::activated, this, &GlobalShortcuts::activated);
    connect(m_portal.get(), &GlobalShortcuts::stateChanged, this, &LinuxGlobalShortcuts::portalChanged);
}

LinuxGlobalShortcuts::~LinuxGlobalShortcuts() = default;

void LinuxGlobalShortcuts::registerShortcuts(const QList<Shortcut>& shortcuts)
{
    unregisterShortcuts();
    m_shortcuts = shortcuts;
    m_wanted = true;
    m_portal->setAnswerMs(X11GlobalShortcuts::available() ? m_portalAnswerMs : m_confirmMs);
    m_portal->registerShortcuts(shortcuts);
}

void LinuxGlobalShortcuts::unregisterShortcuts()
{
    m_wanted = false;
    m_onX11 = false;
    m_portal->unregisterShortcuts();
    if (m_x11)
        m_x11->unregisterShortcuts();
    if (m_state.held || m_state.pending || !m_state.problem.isEmpty() || !m_state.through.isEmpty())
        setState({});
}

void LinuxGlobalShortcuts::portalChanged()
{
    if (!m_wanted || m_onX11)
        return;
    const State portal = m_portal->state();
    if (portal.held || portal.pending || !portal.through.isEmpty()) // the portal holds them, or some
        setState(portal);
    else if (!portal.problem.isEmpty())
        tryX11(portal.problem);
}

void LinuxGlobalShortcuts::tryX11(const QString& portalProblem)
{
    if (!X11GlobalShortcuts::available()) {
        setState({false, false, {}, QStringLiteral("%1 and not an X11 session").arg(portalProblem)});
        return;
    }
    m_onX11 = true;
    if (!m_x11) {
        m_x11 = std::make_unique<X11GlobalShortcuts>();
        connect(m_x11.get(), &GlobalShortcuts::activated, this, &GlobalShortcuts::activated);
    }
    m_x11->registerShortcuts(m_shortcuts);
    setState(m_x11->state());
}

void LinuxGlobalShortcuts::setState(State state)
{
    m_state = std::move(state);
    emit stateChanged();
}

} // namespace quillon::platform::linux_
