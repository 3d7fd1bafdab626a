// Stand-ins for the two system services the helper talks to, served on a
// private bus: logind's Inhibit (a real pipe, so the lock ends exactly when
// every copy of the descriptor is closed) and polkit's CheckAuthorization
// (granting the actions named on the command line). Every event is printed
// as one line on standard output for the test to follow:
//   ready
//   inhibit <what> <mode>
//   released <what>
//   check <subject kind> <subject name> <action> <flags> yes|no
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
#include <cstdio>
#include <fcntl.h>
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
    say("ready");
    return app.exec();
}
