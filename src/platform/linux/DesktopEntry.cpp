#include "DesktopEntry.h"

namespace quillon::platform::linux_ {

namespace {

constexpr qsizetype kMaxExecLength = 4096;

// The string escapes of the format (\s \n \t \r \\), applied to every value.
QString unescapeValue(const QString& value)
{
    QString out;
    out.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value[i];
        if (c != QLatin1Char('\\') || i + 1 == value.size()) {
            out.append(c);
            continue;
        }
        const QChar next = value[++i];
        switch (next.unicode()) {
        case 's':
            out.append(QLatin1Char(' '));
            break;
        case 'n':
            out.append(QLatin1Char('\n'));
            break;
        case 't':
            out.append(QLatin1Char('\t'));
            break;
        case 'r':
            out.append(QLatin1Char('\r'));
            break;
        default:
            // Kept for the Exec quoting rules, which see "\\" and "\"" again.
            out.append(QLatin1Char('\\'));
            out.append(next);
        }
    }
    return out;
}

bool isAssignment(const QString& word)
{
    const qsizetype eq = word.indexOf(QLatin1Char('='));
    return eq > 0 && !word.left(eq).contains(QLatin1Char('/'));
}

// The first word after "run" and its options (`flatpak run --branch=x ID`).
QString runTarget(const QStringList& words, qsizetype from)
{
    qsizetype i = words.indexOf(QStringLiteral("run"), from);
    if (i < 0)
        return {};
    for (++i; i < words.size(); ++i) {
        if (!words[i].startsWith(QLatin1Char('-')))
            return words[i];
    }
    return {};
}

QString baseName(const QString& program)
{
    return program.mid(program.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace

bool DesktopEntry::isLauncher(const QString& program)
{
    static const QStringList launchers{"sh", "bash", "dash", "zsh", "ksh", "fish", "csh", "tcsh", "env", "exec",
        "nohup", "setsid", "sudo", "pkexec", "flatpak", "snap", "xdg-open", "gtk-launch", "gio", "kioclient",
        "kioclient5", "kde-open", "kde-open5", "python", "python2", "python3", "perl", "ruby", "node", "java", "wine",
        "mono", "dbus-send", "gdbus", "systemd-run", "bwrap", "firejail", "gnome-terminal", "konsole", "xterm",
        "x-terminal-emulator"};
    const QString name = baseName(program);
    return name.isEmpty() || launchers.contains(name) || name.startsWith(QLatin1String("python"));
}

QStringList DesktopEntry::execWords(const QString& exec)
{
    QStringList words;
    QString word;
    bool inWord = false;
    bool quoted = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (quoted) {
            if (c == QLatin1Char('"')) {
                quoted = false;
            } else if (c == QLatin1Char('\\') && i + 1 < exec.size()) {
                word.append(exec[++i]);
            } else {
                word.append(c);
            }
            continue;
        }
        if (c == QLatin1Char('"')) {
            quoted = true;
            inWord = true;
        } else if (c == QLatin1Char(' ') || c == QLatin1Char('\t')) {
            if (inWord)
                words.append(word);
            word.clear();
            inWord = false;
        } else if (c == QLatin1Char('%') && i + 1 < exec.size()) {
            const QChar code = exec[++i];
            if (code == QLatin1Char('%'))
                word.append(code);
            inWord = inWord || code == QLatin1Char('%');
        } else {
            word.append(c);
            inWord = true;
        }
    }
    if (quoted)
        return {};
    if (inWord)
        words.append(word);
    return words;
}

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray& text, const QString& id)
{
    if (text.contains('\0'))
        return std::nullopt;
    QString group;
    QString name;
    QString exec;
    QString tryExec;
    QString type;
    bool hidden = false;
    bool noDisplay = false;
    DesktopEntry entry;
    entry.id = id;
    for (const QByteArray& raw : text.split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            group = line.mid(1, line.size() - 2);
            continue;
        }
        if (group != QLatin1String("Desktop Entry"))
            continue;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (eq <= 0)
            continue;
        const QString key = line.left(eq).trimmed();
        const QString value = unescapeValue(line.mid(eq + 1).trimmed());
        if (key == QLatin1String("Name"))
            name = value;
        else if (key == QLatin1String("Name[de]"))
            entry.germanName = value;
        else if (key == QLatin1String("Exec"))
            exec = value;
        else if (key == QLatin1String("TryExec"))
            tryExec = value;
        else if (key == QLatin1String("Type"))
            type = value;
        else if (key == QLatin1String("Icon"))
            entry.icon = value;
        else if (key == QLatin1String("StartupWMClass"))
            entry.wmClass = value;
        else if (key == QLatin1String("Hidden"))
            hidden = value == QLatin1String("true");
        else if (key == QLatin1String("NoDisplay"))
            noDisplay = value == QLatin1String("true");
    }
    if (type != QLatin1String("Application") || hidden || name.isEmpty() || exec.isEmpty()
        || exec.size() > kMaxExecLength)
        return std::nullopt;
    entry.name = name;
    entry.shown = !noDisplay;

    QStringList words = execWords(exec);
    qsizetype first = 0;
    if (!words.isEmpty() && baseName(words[0]) == QLatin1String("env")) {
        first = 1;
        while (first < words.size() && (isAssignment(words[first]) || words[first].startsWith(QLatin1Char('-'))))
            ++first;
    }
    const QString program = words.value(first);
    const QString programName = baseName(program);
    if (programName == QLatin1String("flatpak")) {
        entry.flatpakId = runTarget(words, first + 1);
    } else if (programName == QLatin1String("snap")) {
        entry.snapName = runTarget(words, first + 1).section(QLatin1Char('.'), 0, 0);
    } else if (program.startsWith(QLatin1String("/snap/bin/"))) {
        entry.snapName = programName.section(QLatin1Char('.'), 0, 0);
    } else if (!isLauncher(program)) {
        entry.program = program;
    }
    if (entry.program.isEmpty() && entry.flatpakId.isEmpty() && entry.snapName.isEmpty()) {
        const QString tried = execWords(tryExec).value(0);
        if (!isLauncher(tried))
            entry.program = tried;
    }
    return entry;
}

} // namespace quillon::platform::linux_
