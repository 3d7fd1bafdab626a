#pragma once

#include <QQuickImageProvider>

namespace quillon::ui {

// "image://appicon/NAME": an application's icon from a desktop entry's Icon
// value, either an icon theme name or an absolute path; a generic
// application icon when neither gives one.
class AppIconProvider : public QQuickImageProvider {
public:
    AppIconProvider();

    QPixmap requestPixmap(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace quillon::ui
