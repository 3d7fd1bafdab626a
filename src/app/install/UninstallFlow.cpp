#include "UninstallFlow.h"

#include <QPointer>

namespace quillon::app {

UninstallFlow::UninstallFlow(Uninstaller& uninstaller, Uninstaller::UserTraces traces, QObject* parent)
    : QObject(parent)
    , m_uninstaller(uninstaller)
    , m_traces(std::move(traces))
{
    // The question names a build tree once the origin is known.
    m_uninstaller.whenOriginKnown(this, [this] { emit changed(); });
}

QString UninstallFlow::title() const
{
    switch (m_state) {
    case State::removed:
        return tr("Quillon has been removed");
    case State::failed:
        return tr("Uninstall failed");
    default:
        return tr("Really uninstall Quillon?");
    }
}

QString UninstallFlow::text() const
{
    switch (m_state) {
    case State::removed:
        return tr("Thanks for trying it! The app will now quit.");
    case State::failed:
        return m_failure;
    case State::working:
        // What the password is for, while polkit's dialog asks for it in its own words.
        return tr("Quillon will remove its background helper and itself completely.");
    default:
        break;
    }
    QString text = tr("This removes: the fan background helper, the app itself and all settings. Fan control "
                      "immediately returns to macOS. You'll be asked for your password once.");
    if (m_uninstaller.originKnown() && m_uninstaller.origin().kind == AppOrigin::Kind::buildTree)
        text += QLatin1Char(' ') + tr("Quillon runs from the folder it was built in; that folder stays as it is.");
    return text;
}

QString UninstallFlow::acceptLabel() const
{
    switch (m_state) {
    case State::removed:
        return tr("Quit");
    case State::failed:
        return tr("OK");
    default:
        return tr("Uninstall");
    }
}

QString UninstallFlow::cancelLabel() const
{
    return m_state == State::confirming ? tr("Cancel") : QString();
}

void UninstallFlow::accept()
{
    switch (m_state) {
    case State::confirming: {
        setState(State::working);
        QPointer<UninstallFlow> self(this);
        m_uninstaller.performPrivilegedRemoval([self](const InstallResult& result) {
            if (!self)
                return;
            switch (result.kind) {
            case InstallResult::Kind::success:
                Uninstaller::clearUserTraces(self->m_traces);
                self->setState(State::removed);
                break;
            case InstallResult::Kind::cancelled:
                self->setState(State::closed);
                break;
            case InstallResult::Kind::failed:
                self->m_failure = result.message;
                self->setState(State::failed);
                break;
            }
        });
        break;
    }
    case State::removed:
        setState(State::closed);
        emit quitRequested();
        break;
    case State::failed:
        setState(State::closed);
        break;
    case State::working:
    case State::closed:
        break;
    }
}

void UninstallFlow::cancel()
{
    if (m_state == State::confirming)
        setState(State::closed);
}

void UninstallFlow::setState(State state)
{
    if (state != m_state) {
        m_state = state;
        emit changed();
    }
}

} // namespace quillon::app
