// Stand-ins for the two system services the helper talks to, served on a
// private bus: logind's Inhibit (a real pipe, so the lock ends exactly when
// every copy of the descriptor is closed) and polkit's CheckAuthorization
// (granting the actions named on the command line). Every event is printed
// as one line on standard output for the test to follow:
//   ready
//   inhibit <what> <mode>
//   released <what>
//   check <subject kind> <subject name> <action> <flags> yes|no
//   prepare-for-sleep true|false
// SIGUSR1 and SIGUSR2 make logind announce a suspend and the resume after it
// (PrepareForSleep true and false).
//
// Usage: quillon_fake_system_services BUS_ADDRESS [--grant ACTION]...

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QSocketNotifier>
#include <QStringList>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

void say(const QString& line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

QDBusMessage invalidArgs(const QDBusMessage& call)
{
    return call.createErrorReply(QDBusError::InvalidArgs, "unexpected arguments: " + call.signature());
}

class FakeLogind : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override
    {
        if (call.interface() != "org.freedesktop.login1.Manager" || call.member() != "Inhibit")
            return false;
        if (call.signature() != "ssss") {
            bus.send(invalidArgs(call));
            return true;
        }
        const QString what = call.arguments().at(0).toString();
        const QString mode = call.arguments().at(3).toString();
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) {
            bus.send(call.createErrorReply(QDBusError::Failed, "no pipe"));
            return true;
        }
        // Like logind: we keep the reading end and see the lock end when
        // the last writer closes it.
        auto* watch = new QSocketNotifier(fds[0], QSocketNotifier::Read, this);
        QObject::connect(watch, &QSocketNotifier::activated, watch, [watch, what, reader = fds[0]] {
            char byte;
            if (::read(reader, &byte, 1) > 0)
                return;
            say("released " + what);
            watch->setEnabled(false);
            ::close(reader);
            watch->deleteLater();
        });
        say("inhibit " + what + " " + mode);
        bus.send(call.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(fds[1]))));
        ::close(fds[1]); // the reply carried its own duplicate
        return true;
    }
};

class FakePolkit : public QDBusVirtualObject {
public:
    explicit FakePolkit(QStringList granted)
        : m_granted(std::move(granted))
    {
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override
    {
        if (call.interface() != "org.freedesktop.PolicyKit1.Authority" || call.member() != "CheckAuthorization")
            return false;
        if (call.signature() != "(sa{sv})sa{ss}us") {
            bus.send(invalidArgs(call));
            return true;
        }
        const auto subject = call.arguments().at(0).value<QDBusArgument>();
        QString kind;
        QVariantMap details;
        subject.beginStructure();
        subject >> kind >> details;
        subject.endStructure();
        const QString action = call.arguments().at(1).toString();
        const uint flags = call.arguments().at(3).toUInt();
        const bool granted = m_granted.contains(action);
        say(QStringLiteral("check %1 %2 %3 %4 %5")
                .arg(kind, details.value("name").toString(), action, QString::number(flags), granted ? "yes" : "no"));

        QDBusArgument result;
        result.beginStructure();
        result << granted << false;
        result.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QString>());
        result.endMap();
        result.endStructure();
        bus.send(call.createReply(QVariant::fromValue(result)));
        return true;
    }

private:
    QStringList m_granted;
};

int g_sleepSignals[2] = {-1, -1};

void forwardSleepSignal(int signalNumber)
{
    const char byte = signalNumber == SIGUSR1 ? '1' : '0';
    [[maybe_unused]] const auto n = ::write(g_sleepSignals[1], &byte, 1);
}

// Sends PrepareForSleep from logind's name on the signals above.
void announceSleepOnSignals(QDBusConnection bus, QObject* parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_sleepSignals) != 0)
        return;
    auto* notifier = new QSocketNotifier(g_sleepSignals[0], QSocketNotifier::Read, parent);
    QObject::connect(notifier, &QSocketNotifier::activated, parent, [bus] {
        char byte;
        if (::read(g_sleepSignals[0], &byte, 1) != 1)
            return;
        const bool goingToSleep = byte == '1';
        QDBusMessage signal = QDBusMessage::createSignal(
            "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep");
        signal << goingToSleep;
        bus.send(signal);
        say(QStringLiteral("prepare-for-sleep ") + (goingToSleep ? "true" : "false"));
    });
    std::signal(SIGUSR1, forwardSleepSignal);
    std::signal(SIGUSR2, forwardSleepSignal);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: %s BUS_ADDRESS [--grant ACTION]...\n", argv[0]);
        return 2;
    }
    QStringList granted;
    for (qsizetype i = 2; i + 1 < args.size(); ++i) {
        if (args[i] == "--grant")
            granted << args[++i];
    }
    QDBusConnection bus = QDBusConnection::connectToBus(args[1], "fake-system-services");
    if (!bus.isConnected()) {
        std::fprintf(stderr, "cannot connect: %s\n", qPrintable(bus.lastError().message()));
        return 1;
    }
    FakeLogind logind;
    FakePolkit polkit(granted);
    bus.registerVirtualObject("/org/freedesktop/login1", &logind);
    bus.registerService("org.freedesktop.login1");
    bus.registerVirtualObject("/org/freedesktop/PolicyKit1/Authority", &polkit);
    bus.registerService("org.freedesktop.PolicyKit1");
    announceSleepOnSignals(bus, &app);
    say("ready");
    return app.exec();
}
