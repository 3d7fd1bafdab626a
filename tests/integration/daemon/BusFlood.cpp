// quillon_bus_flood ADDRESS COUNT: sends COUNT GetStatus calls that ask for
// no reply to the fan helper on the bus at ADDRESS, as fast as the bus takes
// them, then one GetStatus that does ask, and prints "answer: " followed by
// "ok" or the error's name. What a hostile local user could do; the tests and
// the benchmark run it as an unprivileged uid.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3)
        return 2;
    QDBusConnection bus = QDBusConnection::connectToBus(QString::fromLocal8Bit(argv[1]), QStringLiteral("flood"));
    if (!bus.isConnected())
        return 1;
    const auto call = [] {
        return QDBusMessage::createMethodCall(QStringLiteral("org.quillon.Quillon.smchelper"),
            QStringLiteral("/org/quillon/Quillon/smchelper"), QStringLiteral("org.quillon.Quillon.smchelper"),
            QStringLiteral("GetStatus"));
    };
    const long count = std::atol(argv[2]);
    for (long i = 0; i < count; ++i)
        bus.send(call()); // a call sent this way expects no reply
    const QDBusMessage answer = bus.call(call(), QDBus::Block, 60000);
    std::printf(
        "answer: %s\n", answer.type() == QDBusMessage::ReplyMessage ? "ok" : answer.errorName().toUtf8().constData());
    return 0;
}
