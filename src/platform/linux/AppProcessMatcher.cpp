#include "AppProcessMatcher.h"

namespace quillon::platform::linux_ {

namespace {

QString baseName(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

// systemd's unit-name escapes: "\x2d" and the like.
QString unescapeUnit(const QString& text)
{
    if (!text.contains(QLatin1String("\\x")))
        return text;
    QString out;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\') && i + 3 < text.size() && text[i + 1] == QLatin1Char('x')) {
            bool ok = false;
            const int code = text.mid(i + 2, 2).toInt(&ok, 16);
            if (ok) {
                out.append(QChar(code));
                i += 3;
                continue;
            }
        }
        out.append(text[i]);
    }
    return out;
}

// Interpreters whose first argument is the script that is the program.
bool isInterpreter(const QString& program)
{
    static const QStringList names{"sh", "bash", "dash", "zsh", "ksh", "perl", "ruby", "node"};
    const QString name = baseName(program);
    return names.contains(name) || name.startsWith(QLatin1String("python"));
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
}

bool AppProcessMatcher::scopeNames(const QString& cgroup, const QString& id)
{
    for (const QString& unit : cgroup.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (!unit.startsWith(QLatin1String("app-")))
            continue;
        QString body = unit.mid(4);
        if (body.endsWith(QLatin1String(".scope")))
            body.chop(6);
        else if (body.endsWith(QLatin1String(".service")))
            body.chop(8);
        else
            continue;
        body = body.section(QLatin1Char('@'), 0, 0);
        // Dashes inside the id are escaped, so the plain ones separate the
        // launcher, the id and the random part.
        for (const QString& word : body.split(QLatin1Char('-'), Qt::SkipEmptyParts)) {
            if (unescapeUnit(word) == id)
                return true;
        }
    }
    return false;
}

bool AppProcessMatcher::matches(const ProcessTable::Process& process) const
{
    if (scopeNames(process.cgroup, m_id))
        return true;
    if (!m_flatpakId.isEmpty()
        && (process.flatpak == m_flatpakId || (m_flatpakId != m_id && scopeNames(process.cgroup, m_flatpakId))))
        return true;
    if (!m_snapName.isEmpty()) {
        const QString snapUnit = QStringLiteral("/snap.") + m_snapName + QLatin1Char('.');
        if (process.cgroup.contains(snapUnit) || process.exe.startsWith(QStringLiteral("/snap/") + m_snapName + '/'))
            return true;
    }
    return programMatches(process);
}

bool AppProcessMatcher::programMatches(const ProcessTable::Process& process) const
{
    if (m_program.isEmpty())
        return false;
    const bool viaInterpreter = isInterpreter(process.exe) || isInterpreter(process.argv0);
    if (m_program.startsWith(QLatin1Char('/'))) {
        return process.exe == m_program || process.argv0 == m_program || (viaInterpreter && process.argv1 == m_program);
    }
    // A bare name, found through PATH.
    return baseName(process.exe) == m_programName || baseName(process.argv0) == m_programName
        || (process.comm.size() == 15 && m_programName.startsWith(process.comm))
        || (viaInterpreter && baseName(process.argv1) == m_programName);
}

} // namespace quillon::platform::linux_
