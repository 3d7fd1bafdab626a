#pragma once

#include "support/EventLoop.h"
#include "support/LineProcess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

namespace quillon::test {

// A local HTTP server (Python's http.server on a free port of 127.0.0.1)
// serving files the test writes, such as an update feed.
class FeedServer {
public:
    FeedServer()
    {
        ensureCoreApplication();
        m_server.start(QStringLiteral(QUILLON_PYTHON),
            {QStringLiteral("-c"),
                QStringLiteral(
                    "import http.server,os,sys\n"
                    "os.chdir(sys.argv[1])\n"
                    "s=http.server.ThreadingHTTPServer(('127.0.0.1',0),http.server.SimpleHTTPRequestHandler)\n"
                    "print(s.server_address[1],flush=True)\n"
                    "s.serve_forever()\n"),
                m_dir.path()},
            {}, QStringLiteral("/dev/null"));
        if (waitUntil([&] { return !m_server.lines().isEmpty() || !m_server.running(); }, std::chrono::seconds(10))
            && m_server.running())
            m_port = m_server.lines().first().trimmed().toInt();
    }

    bool ready() const { return m_port > 0; }
    // Serves body at /name from now on.
    void serve(const QString& name, const QByteArray& body)
    {
        QFile file(m_dir.filePath(name));
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(body);
    }
    QUrl url(const QString& name) const { return QUrl(QStringLiteral("http://127.0.0.1:%1/%2").arg(m_port).arg(name)); }

private:
    QTemporaryDir m_dir;
    LineProcess m_server;
    int m_port = 0;
};

} // namespace quillon::test
