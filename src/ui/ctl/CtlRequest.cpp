#include "CtlRequest.h"

#include "ui/scripting/EchoedInput.h"

#include <QRegularExpression>

namespace quillon::ui {

namespace {

using Error = CtlRequest::Error;
using Result = std::variant<CtlRequest, Error>;

const QStringList kKinds{QStringLiteral("system"), QStringLiteral("display"), QStringLiteral("network")};
const QStringList kProfiles{QStringLiteral("silent"), QStringLiteral("balanced"), QStringLiteral("max")};

Error error(const QString& message)
{
    return Error{message};
}

std::optional<QStringList> parseKinds(const QString& text)
{
    QStringList kinds;
    for (const QString& kind : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        if (!kKinds.contains(kind))
            return std::nullopt;
        if (!kinds.contains(kind))
            kinds.append(kind);
    }
    return kinds.isEmpty() ? std::nullopt : std::optional(kinds);
}

// awake --while PID, awake -- COMMAND ARGS...
std::optional<Result> parseAwakeWhile(const QStringList& args)
{
    CtlRequest request;
    const qsizetype dashes = args.indexOf(QStringLiteral("--"));
    if (dashes >= 0) {
        if (dashes != 0)
            return error(QStringLiteral("awake -- COMMAND takes no other options"));
        if (args.size() == 1)
            return error(QStringLiteral("awake -- needs a command to run"));
        request.verb = CtlRequest::Verb::awakeRun;
        request.command = args.mid(1);
        return request;
    }
    if (args.value(0) != QLatin1String("--while"))
        return std::nullopt;
    bool ok = false;
    request.pid = args.value(1).toLongLong(&ok);
    if (args.size() != 2 || !ok || request.pid <= 0)
        return error(QStringLiteral("awake --while takes one process id"));
    request.verb = CtlRequest::Verb::awakeWhile;
    return request;
}

Result parseAutomation(const QStringList& args)
{
    CtlRequest request;
    const QString what = args.value(0);
    if ((what == QLatin1String("on") || what == QLatin1String("off")) && args.size() == 1) {
        request.verb = CtlRequest::Verb::automation;
        request.automationOn = what == QLatin1String("on");
        return request;
    }
    if ((what == QLatin1String("fullscreen") || what == QLatin1String("media")) && args.size() == 2
        && (args[1] == QLatin1String("on") || args[1] == QLatin1String("off"))) {
        request.verb = CtlRequest::Verb::autoRule;
        request.rule = what;
        request.automationOn = args[1] == QLatin1String("on");
        return request;
    }
    if (what == QLatin1String("exclude") && args.size() == 3
        && (args[1] == QLatin1String("add") || args[1] == QLatin1String("remove"))) {
        request.verb = args[1] == QLatin1String("add") ? CtlRequest::Verb::autoExclude : CtlRequest::Verb::autoInclude;
        request.appId = args[2];
        return request;
    }
    if (what == QLatin1String("remove") && args.size() == 2) {
        request.verb = CtlRequest::Verb::autoRemove;
        request.appId = args[1];
        return request;
    }
    if (what == QLatin1String("add")
        && (args.size() == 2 || (args.size() == 4 && args[2] == QLatin1String("--cooling")))) {
        request.verb = CtlRequest::Verb::autoAdd;
        request.appId = args[1];
        request.cooling = args.value(3);
        if (!request.cooling.isEmpty() && !kProfiles.contains(request.cooling))
            return error(
                QStringLiteral("unknown cooling: %1 (silent, balanced or max)").arg(EchoedInput::of(request.cooling)));
        return request;
    }
    return error(QStringLiteral("auto takes on, off, add DESKTOP-ID [--cooling silent|balanced|max], remove "
                                "DESKTOP-ID, fullscreen on|off, media on|off or exclude add|remove DESKTOP-ID"));
}

Result parseAwake(const QStringList& args, const QDateTime& now)
{
    if (auto whileRunning = parseAwakeWhile(args))
        return *whileRunning;
    CtlRequest request;
    request.verb = CtlRequest::Verb::awake;
    request.kinds = {QStringLiteral("system"), QStringLiteral("display")};
    bool ending = false; // --for, --until or --off given
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& option = args[i];
        if (option == QLatin1String("--off")) {
            if (ending)
                return error(QStringLiteral("awake takes one of --for, --until and --off"));
            ending = true;
            request.verb = CtlRequest::Verb::awakeOff;
            continue;
        }
        if (option != QLatin1String("--for") && option != QLatin1String("--until")
            && option != QLatin1String("--kinds"))
            return error(QStringLiteral("awake does not know %1").arg(EchoedInput::of(option)));
        if (i + 1 >= args.size())
            return error(QStringLiteral("%1 needs a value").arg(EchoedInput::of(option)));
        const QString& value = args[++i];
        if (option == QLatin1String("--kinds")) {
            const auto kinds = parseKinds(value);
            if (!kinds)
                return error(QStringLiteral("--kinds takes system, display and network, separated by commas: %1")
                                 .arg(EchoedInput::of(value)));
            request.kinds = *kinds;
            continue;
        }
        if (ending)
            return error(QStringLiteral("awake takes one of --for, --until and --off"));
        ending = true;
        if (option == QLatin1String("--for")) {
            const auto seconds = CtlRequest::parseDuration(value);
            if (!seconds)
                return error(
                    QStringLiteral("not a duration: %1 (for example 90s, 45m, 1h30m, 2d)").arg(EchoedInput::of(value)));
            request.until = now.addSecs(*seconds);
        } else {
            const auto until = CtlRequest::parseTime(value, now);
            if (!until)
                return error(QStringLiteral("not a time: %1 (HH:MM or YYYY-MM-DDTHH:MM)").arg(EchoedInput::of(value)));
            if (*until <= now)
                return error(QStringLiteral("%1 has already passed").arg(EchoedInput::of(value)));
            request.until = *until;
        }
    }
    if (request.verb == CtlRequest::Verb::awakeOff && args.contains(QStringLiteral("--kinds")))
        return error(QStringLiteral("--off ends the whole session; it takes no --kinds"));
    return request;
}

// pause [--for DURATION]
Result parsePause(const QStringList& args, const QDateTime& now)
{
    CtlRequest request;
    request.verb = CtlRequest::Verb::pause;
    if (args.isEmpty())
        return request;
    const auto seconds
        = args.size() == 2 && args[0] == QLatin1String("--for") ? CtlRequest::parseDuration(args[1]) : std::nullopt;
    if (!seconds)
        return error(QStringLiteral("pause takes --for DURATION (for example 30m), or nothing: until resumed"));
    request.until = now.addSecs(*seconds);
    return request;
}

std::optional<double> parsePercent(QString text)
{
    if (text.endsWith(QLatin1Char('%')))
        text.chop(1);
    bool ok = false;
    const double percent = text.toDouble(&ok);
    if (!ok || !(percent >= 0 && percent <= 100))
        return std::nullopt;
    return percent;
}

Result parseFans(const QStringList& args)
{
    CtlRequest request;
    const QString mode = args.value(0);
    if (mode == QLatin1String("off") && args.size() == 1) {
        request.verb = CtlRequest::Verb::fansOff;
        return request;
    }
    if (mode == QLatin1String("auto") && args.size() <= 2) {
        request.verb = CtlRequest::Verb::fansAuto;
        request.profile = args.value(1);
        if (!request.profile.isEmpty() && !kProfiles.contains(request.profile))
            return error(
                QStringLiteral("unknown profile: %1 (silent, balanced or max)").arg(EchoedInput::of(request.profile)));
        return request;
    }
    if (mode == QLatin1String("manual") && (args.size() == 2 || args.size() == 4)) {
        request.verb = CtlRequest::Verb::fansManual;
        const auto percent = parsePercent(args[1]);
        if (!percent)
            return error(QStringLiteral("not a percentage from 0 to 100: %1").arg(EchoedInput::of(args[1])));
        request.percent = *percent;
        if (args.size() == 4) {
            const auto seconds = CtlRequest::parseDuration(args[3]);
            if (args[2] != QLatin1String("--for") || !seconds)
                return error(QStringLiteral("fans manual PERCENT takes --for DURATION (for example 10m)"));
            request.boostSeconds = static_cast<double>(*seconds);
        }
        return request;
    }
    return error(QStringLiteral("fans takes off, auto [silent|balanced|max] or manual PERCENT [--for DURATION]"));
}

} // namespace

std::optional<qint64> CtlRequest::parseDuration(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral("^(?:(\\d+)d)?(?:(\\d+)h)?(?:(\\d+)m)?(?:(\\d+)s)?$"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (text.isEmpty() || !match.hasMatch())
        return std::nullopt;
    constexpr qint64 unit[] = {86400, 3600, 60, 1};
    qint64 seconds = 0;
    for (int part = 0; part < 4; ++part) {
        const QString digits = match.captured(part + 1);
        // Seven digits of any unit are far beyond any use, and keep the sum from overflowing.
        if (digits.size() > 7)
            return std::nullopt;
        seconds += digits.toLongLong() * unit[part];
    }
    return seconds > 0 ? std::optional(seconds) : std::nullopt;
}

std::optional<QDateTime> CtlRequest::parseTime(const QString& text, const QDateTime& now)
{
    const QDateTime local = now.toLocalTime();
    const QTime clock = QTime::fromString(text, QStringLiteral("H:mm"));
    if (clock.isValid()) {
        QDateTime at(local.date(), clock);
        if (at <= local)
            at = at.addDays(1);
        return at;
    }
    for (const QString& format : {QStringLiteral("yyyy-MM-ddTHH:mm"), QStringLiteral("yyyy-MM-ddTHH:mm:ss"),
             QStringLiteral("yyyy-MM-dd HH:mm"), QStringLiteral("yyyy-MM-dd HH:mm:ss")}) {
        const QDateTime at = QDateTime::fromString(text, format);
        if (at.isValid())
            return at;
    }
    return std::nullopt;
}

std::variant<CtlRequest, CtlRequest::Error> CtlRequest::parse(const QStringList& args, const QDateTime& now)
{
    const QString verb = args.value(0);
    const QStringList rest = args.mid(1);
    CtlRequest request;
    if (verb == QLatin1String("help") || verb == QLatin1String("--help") || verb == QLatin1String("-h")) {
        request.verb = Verb::help;
    } else if (verb == QLatin1String("status") && rest.isEmpty()) {
        request.verb = Verb::status;
    } else if (verb == QLatin1String("reset") && rest.isEmpty()) {
        request.verb = Verb::reset;
    } else if (verb == QLatin1String("pause")) {
        return parsePause(rest, now);
    } else if (verb == QLatin1String("resume") && rest.isEmpty()) {
        request.verb = Verb::resume;
    } else if (verb == QLatin1String("settings") && rest.isEmpty()) {
        request.verb = Verb::settings;
    } else if (verb == QLatin1String("helper") && rest.size() == 1
        && (rest[0] == QLatin1String("install") || rest[0] == QLatin1String("update")
            || rest[0] == QLatin1String("uninstall"))) {
        request.verb = rest[0] == QLatin1String("install") ? Verb::helperInstall
            : rest[0] == QLatin1String("update")           ? Verb::helperUpdate
                                                           : Verb::uninstall;
    } else if (verb == QLatin1String("awake")) {
        return parseAwake(rest, now);
    } else if (verb == QLatin1String("fans")) {
        return parseFans(rest);
    } else if (verb == QLatin1String("update") && rest == QStringList{QStringLiteral("check")}) {
        request.verb = Verb::updateCheck;
    } else if (verb == QLatin1String("auto")) {
        return parseAutomation(rest);
    } else if ((verb == QLatin1String("lid") || verb == QLatin1String("render")) && rest.size() == 1
        && (rest[0] == QLatin1String("on") || rest[0] == QLatin1String("off"))) {
        request.verb = verb == QLatin1String("lid") ? Verb::lid : Verb::render;
        request.on = rest[0] == QLatin1String("on");
    } else if (verb.isEmpty()) {
        return error(QStringLiteral("which command?"));
    } else if (verb == QLatin1String("status") || verb == QLatin1String("reset") || verb == QLatin1String("lid")
        || verb == QLatin1String("render") || verb == QLatin1String("update") || verb == QLatin1String("settings")
        || verb == QLatin1String("helper") || verb == QLatin1String("resume")) {
        return error(QStringLiteral("wrong arguments for %1").arg(EchoedInput::of(verb)));
    } else {
        return error(QStringLiteral("unknown command: %1").arg(EchoedInput::of(verb)));
    }
    return request;
}

QString CtlRequest::usage()
{
    return QStringLiteral(
        "Usage: quillon ctl COMMAND\n"
        "  status                                   the app's state as JSON\n"
        "  awake [--for DURATION | --until TIME | --off] [--kinds system,display,network]\n"
        "                                           keep-awake (default kinds: system,display; no end: until --off)\n"
        "  awake --while PID                        keep-awake while that process runs\n"
        "  awake -- COMMAND [ARGS...]               runs the command and keeps awake until it ends\n"
        "  fans off | auto [silent|balanced|max] | manual PERCENT [--for DURATION]\n"
        "                                           fan control (a manual floor runs as a boost of at most 1 h)\n"
        "  lid on|off                               closed-lid keep-awake\n"
        "  update check                             asks the update feed now and says what it offers\n"
        "  render on|off                            Render Mode: awake, drives, closed lid, cooling, DaVinci's queue\n"
        "  pause [--for DURATION]                   lets go of keep-awake, automation and awake --while for a\n"
        "                                           while (no DURATION: until resume); Render Mode, closed lid\n"
        "                                           and fan control go on\n"
        "  resume                                   ends the pause\n"
        "  auto on|off                              automation (keep awake and cool by rule)\n"
        "  auto add DESKTOP-ID [--cooling silent|balanced|max] | auto remove DESKTOP-ID\n"
        "                                           an application whose running keeps awake (and cool)\n"
        "  auto fullscreen on|off                   keep awake while another app's window is full screen\n"
        "  auto exclude add|remove DESKTOP-ID       an app whose full screen does not count\n"
        "  auto media on|off                        keep awake while a media player plays\n"
        "  reset                                    Render Mode, keep-awake, closed lid, fan control and automation "
        "off\n"
        "  settings                                 opens the settings window\n"
        "  helper install|update                    installs or replaces the fan helper (asks for the password)\n"
        "  helper uninstall                         removes the helper, the app and its settings, as the settings\n"
        "                                           window's \"Uninstall Quillon…\" does; the app then quits\n"
        "DURATION: 90s, 45m, 1h30m, 2d. TIME: HH:MM (next such time) or YYYY-MM-DDTHH:MM, local time.\n"
        "Exit status: 0 done, 1 refused or the app is not running, 2 usage error; awake -- COMMAND exits\n"
        "with the command's status (127: it could not be started).\n");
}

} // namespace quillon::ui
