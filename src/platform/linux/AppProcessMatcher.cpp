#include "AppProcessMatcher.h"

namespace quillon::platform::linux_ {

namespace {

QString baseName(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace

AppProcessMatcher::AppProcessMatcher(const QString& id, const DesktopEntry* entry)
    : m_id(id)
{
    if (!entry) {
        m_flatpakId = id; // an id that is no entry here may still be a running Flatpak's
        return;
    }
    m_flatpakId = entry->flatpakId;
    m_snapName = entry->snapName;
    m_program = entry->program;
    m_programName = baseName(entry->program);
    if (!m_snapName.isEmpty()) {
        m_snapUnit = QStringLiteral("/snap.") + m_snapName + QLatin1Char('.');
        m_snapFiles = QStringLiteral("/snap/") + m_snapName + QLatin1Char('/');
    }
}

bool AppProcessMatcher::matches(const ProcessTable::Process& process) const
{
    if (process.scopeIds.contains(m_id))
        return true;
    if (!m_flatpakId.isEmpty()
        && (process.flatpak == m_flatpakId || (m_flatpakId != m_id && process.scopeIds.contains(m_flatpakId))))
        return true;
    if (!m_snapName.isEmpty() && (process.cgroup.contains(m_snapUnit) || process.exe.startsWith(m_snapFiles)))
        return true;
    return programMatches(process);
}

bool AppProcessMatcher::programMatches(const ProcessTable::Process& process) const
{
    if (m_program.isEmpty())
        return false;
    if (m_program.startsWith(QLatin1Char('/'))) {
        return process.exe == m_program || process.argv0 == m_program || (process.viaInterpreter && process.argv1 == m_program);
    }
    // A bare name, found through PATH.
    return process.exeName == m_programName || process.argv0Name == m_programName
        || (process.comm.size() == 15 && m_programName.startsWith(process.comm))
        || (process.viaInterpreter && process.argv1Name == m_programName);
}

} // namespace quillon::platform::linux_
