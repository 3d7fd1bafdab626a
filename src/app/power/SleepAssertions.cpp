#include "SleepAssertions.h"

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

SleepAssertions::SleepAssertions(std::shared_ptr<platform::PowerAssertionBackend> backend, QObject* parent)
    : QObject(parent)
    , m_backend(std::move(backend))
{
}

SleepAssertions::~SleepAssertions()
{
    stopAll();
}

bool SleepAssertions::start(Kind kind)
{
    if (m_ids.contains(kind))
        return true;
    const auto id = m_backend->create(assertionType(kind), assertionName(kind));
    if (!id)
        return false;
    m_ids.emplace(kind, *id);
    return true;
}

void SleepAssertions::stop(Kind kind)
{
    const auto held = m_ids.find(kind);
    if (held == m_ids.end())
        return;
    const AssertionId id = held->second;
    m_ids.erase(held);
    m_backend->release(id);
}

void SleepAssertions::stopAll()
{
    // Erase before releasing, so a release that calls back into this holder
    // never sees the entry again.
    while (!m_ids.empty())
        stop(m_ids.begin()->first);
}

} // namespace quillon::app
