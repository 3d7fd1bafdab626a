#pragma once

#include "support/EventLoop.h"
#include "support/LineProcess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

namespace quillon::test {

// A local HTTP server (Python's http.server on a free port of 127.0.0.1)
// serving files the test writes, such as an update feed, and the ways a
// hostile or broken server answers:
//   /redirect/N/NAME  N redirects in a row, then NAME
//   /drip/NAME        promises 1 MB more than NAME, then sends NAME and after
//                     it spaces, a byte every 0.2 s: never silent, never done
//   /huge/NAME        says its body is 200 MB, sends NAME and then stalls
//   /silent/NAME      reads the request and never answers
class FeedServer {
public:
    FeedServer()
    {
        ensureCoreApplication();
        m_server.start(QStringLiteral(QUILLON_PYTHON),
            {QStringLiteral("-c"), QString::fromLatin1(kScript), m_dir.path()}, {}, QStringLiteral("/dev/null"));
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
    static constexpr const char* kScript = R"py(
import http.server, os, sys, time
os.chdir(sys.argv[1])
class Handler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *args):
        pass
    def body(self, name):
        with open(name, 'rb') as f:
            return f.read()
    def head(self, length):
        self.send_response(200)
        self.send_header('Content-Type', 'application/json')
        self.send_header('Content-Length', str(length))
        self.end_headers()
        self.wfile.flush()
    def do_GET(self):
        parts = self.path.strip('/').split('/')
        try:
            if parts[0] == 'redirect':
                left = int(parts[1])
                self.send_response(302)
                self.send_header('Location', '/redirect/%d/%s' % (left - 1, parts[2]) if left > 1 else '/' + parts[2])
                self.send_header('Content-Length', '0')
                self.end_headers()
            elif parts[0] == 'drip':
                data = self.body(parts[1])
                self.head(len(data) + 1000000)
                for byte in data + b' ' * 1000000:
                    self.wfile.write(bytes([byte]))
                    self.wfile.flush()
                    time.sleep(0.2)
            elif parts[0] == 'silent':
                time.sleep(3600)
            elif parts[0] == 'huge':
                self.head(200 * 1000 * 1000)
                self.wfile.write(self.body(parts[1]))
                self.wfile.flush()
                time.sleep(3600)
            else:
                super().do_GET()
        except (BrokenPipeError, ConnectionResetError):
            pass
s = http.server.ThreadingHTTPServer(('127.0.0.1', 0), Handler)
s.daemon_threads = True
print(s.server_address[1], flush=True)
s.serve_forever()
)py";

    QTemporaryDir m_dir;
    LineProcess m_server;
    int m_port = 0;
};

} // namespace quillon::test
