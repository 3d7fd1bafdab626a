#include "SleepAssertions.h"

#include <utility>

namespace quillon::app {

namespace {

platform::PowerAssertionType assertionType(SleepAssertions::Kind kind)
{
    switch (kind) {
    case SleepAssertions::Kind::system:
        return platform::PowerAssertionType::preventIdleSystemSleep;
    case SleepAssertions::Kind::display:
        return platform::PowerAssertionType::preventIdleDisplaySleep;
    case SleepAssertions::Kind::network:
        return platform::PowerAssertionType::networkClientActive;
    }
    return platform::PowerAssertionType::preventIdleSystemSleep;
}

} // namespace

QString SleepAssertions::rawValue(Kind kind)
{
    switch (kind) {
    case Kind::system:
        return QStringLiteral("system");
    case Kind::display:
        return QStringLiteral("display");
    case Kind::network:
        return QStringLiteral("network");
    }
    return {};
}

std::optional<SleepAssertions::Kind> SleepAssertions::fromRawValue(const QString& raw)
{
    for (Kind kind : allKinds) {
        if (rawValue(kind) == raw)
            return kind;
    }
    return std::nullopt;
}

QString SleepAssertions::assertionName(Kind kind)
{
    switch (kind) {
    case Kind::system:
        return QStringLiteral("SleepTimer: prevent system sleep");
    case Kind::display:
        return QStringLiteral("SleepTimer: prevent display sleep");
    case Kind::network:
        return QStringLiteral("SleepTimer: keep network active");
    }
    return {};
}

QString SleepAssertions::label(Kind kind)
{
    switch (kind) {
    case Kind::system:
        return tr("Keep system awake");
    case Kind::display:
        return tr("Keep display awake");
    case Kind::network:
        return tr("Keep network active");
    }
    return {};
}

QString SleepAssertions::note(const KindState& state)
{
    using Phase = KindState::Phase;
    switch (state.phase) {
    case Phase::off:
        break;
    case Phase::confirming:
        if (!state.problem.isEmpty())
            return tr("Asked %1, not confirmed: %2").arg(state.through, state.problem);
        return tr("Checking that %1 holds it…").arg(state.through);
    case Phase::inForce:
        return tr("In force through %1").arg(state.through);
    case Phase::failed:
        return tr("Not in force: %1").arg(state.problem);
    case Phase::paused:
        return tr("Paused");
    }
    return {};
}

SleepAssertions::SleepAssertions(std::shared_ptr<platform::PowerAssertionBackend> backend, QObject* parent)
    : QObject(parent)
    , m_backend(std::move(backend))
{
    connect(
        m_backend.get(), &platform::PowerAssertionBackend::stateChanged, this, &SleepAssertions::onBackendStateChanged);
}

SleepAssertions::~SleepAssertions()
{
    // The owner is being torn down too: nobody is to hear about it.
    blockSignals(true);
    stopAll();
}

bool SleepAssertions::start(Kind kind)
{
    if (m_paused) {
        if (m_pausedKinds.insert(kind).second)
            emit stateChanged();
        return true;
    }
    if (m_ids.contains(kind))
        return true;
    const auto id = m_backend->create(assertionType(kind), assertionName(kind));
    if (!id) {
        const QString problem = m_backend->lastProblem();
        m_problems[kind] = problem.isEmpty() ? tr("the system refused") : problem;
        emit stateChanged();
        return false;
    }
    m_problems.erase(kind);
    m_ids.emplace(kind, *id);
    emit stateChanged();
    return true;
}

void SleepAssertions::stop(Kind kind)
{
    if (m_pausedKinds.erase(kind) > 0)
        emit stateChanged();
    const bool forgotRefusal = m_problems.erase(kind) > 0;
    const auto held = m_ids.find(kind);
    if (held == m_ids.end()) {
        if (forgotRefusal)
            emit stateChanged();
        return;
    }
    const AssertionId id = held->second;
    m_ids.erase(held);
    m_backend->release(id);
    emit stateChanged();
}

SleepAssertions::KindState SleepAssertions::state(Kind kind) const
{
    using Phase = KindState::Phase;
    if (m_pausedKinds.contains(kind))
        return {Phase::paused, {}, {}};
    if (const auto problem = m_problems.find(kind); problem != m_problems.end())
        return {Phase::failed, {}, problem->second};
    const auto held = m_ids.find(kind);
    if (held == m_ids.end())
        return {};
    const platform::PowerAssertionState system = m_backend->state(held->second);
    switch (system.phase) {
    case platform::PowerAssertionState::Phase::confirming:
        return {Phase::confirming, system.through, system.problem};
    case platform::PowerAssertionState::Phase::inForce:
        return {Phase::inForce, system.through, {}};
    case platform::PowerAssertionState::Phase::failed:
        break;
    }
    return {Phase::failed, {}, system.problem};
}

bool SleepAssertions::holding(Kind kind) const
{
    const auto phase = state(kind).phase;
    return phase == KindState::Phase::confirming || phase == KindState::Phase::inForce;
}

void SleepAssertions::onBackendStateChanged(AssertionId id)
{
    for (const auto& [kind, held] : m_ids) {
        if (held != id)
            continue;
        const platform::PowerAssertionState system = m_backend->state(id);
        if (system.phase == platform::PowerAssertionState::Phase::failed) {
            // Nothing holds it any more: keep the reason, let go of the id.
            const Kind failed = kind;
            m_problems[failed] = system.problem.isEmpty() ? tr("the system refused") : system.problem;
            m_ids.erase(failed);
            m_backend->release(id);
        }
        emit stateChanged();
        return;
    }
}

void SleepAssertions::stopAll()
{
    // Erase before releasing, so a release that calls back into this holder
    // never sees the entry again.
    while (!m_ids.empty())
        stop(m_ids.begin()->first);
    if (!m_pausedKinds.empty()) {
        m_pausedKinds.clear();
        emit stateChanged();
    }
    if (!m_problems.empty()) {
        m_problems.clear();
        emit stateChanged();
    }
}

void SleepAssertions::setPaused(bool paused)
{
    if (paused == m_paused)
        return;
    if (paused) {
        std::set<Kind> kinds;
        for (const Kind kind : allKinds) {
            if (m_ids.contains(kind) || m_problems.contains(kind))
                kinds.insert(kind);
        }
        stopAll();
        m_paused = true;
        m_pausedKinds = std::move(kinds);
        emit stateChanged();
        return;
    }
    m_paused = false;
    const std::set<Kind> kinds = std::exchange(m_pausedKinds, {});
    for (const Kind kind : kinds)
        start(kind);
    emit stateChanged();
}

QString SleepAssertions::firstProblem() const
{
    for (const Kind kind : allKinds) {
        const KindState kindState = state(kind);
        if (kindState.phase == KindState::Phase::failed)
            return kindState.problem;
    }
    return {};
}

} // namespace quillon::app
