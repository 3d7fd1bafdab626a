#include "AppIconProvider.h"

#include <QFileInfo>
#include <QIcon>
#include <QUrl>

namespace quillon::ui {

namespace {
constexpr int kDefaultSide = 24;
} // namespace

AppIconProvider::AppIconProvider()
    : QQuickImageProvider(QQuickImageProvider::Pixmap)
{
}

QPixmap AppIconProvider::requestPixmap(const QString& id, QSize* size, const QSize& requestedSize)
{
    const QString icon = QUrl::fromPercentEncoding(id.toUtf8());
    const QSize side = requestedSize.isValid() ? requestedSize : QSize(kDefaultSide, kDefaultSide);
    QIcon found;
    if (icon.startsWith(QLatin1Char('/'))) {
        if (QFileInfo(icon).isFile())
            found = QIcon(icon);
    } else if (!icon.contains(QLatin1Char('/'))) {
        found = QIcon::fromTheme(icon);
    }
    if (found.isNull())
        found = QIcon::fromTheme(QStringLiteral("application-x-executable"));
    QPixmap pixmap = found.pixmap(side);
    if (pixmap.isNull()) {
        // No theme at all: an empty square keeps the row's layout.
        pixmap = QPixmap(side);
        pixmap.fill(Qt::transparent);
    }
    if (size)
        *size = pixmap.size();
    return pixmap;
}

} // namespace quillon::ui
