#include "app/install/FeedFetch.h"

#include <QCoreApplication>
#include <cstdio>

// quillon-update-check URL TIMEOUT_MS: the update feed's answer on stdout
// (exit 0), or nothing (exit 1). The app runs it for each check so that
// QtNetwork and the TLS library live only as long as one check.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    bool ok = false;
    const int timeout = args.value(2).toInt(&ok);
    if (args.size() != 3 || !ok || timeout <= 0) {
        std::fputs("usage: quillon-update-check URL TIMEOUT_MS\n", stderr);
        return 2;
    }
    quillon::app::FeedFetch fetch(QUrl(args[1]), timeout);
    QObject::connect(&fetch, &quillon::app::FeedFetch::done, &application, [](const QByteArray& body) {
        std::fwrite(body.constData(), 1, static_cast<size_t>(body.size()), stdout);
        std::fflush(stdout);
        QCoreApplication::exit(body.isEmpty() ? 1 : 0);
    });
    fetch.start();
    return QCoreApplication::exec();
}
