#pragma once

#include <QGuiApplication>
#include <QtGui/qguiapplication_platform.h>

struct xcb_connection_t;

namespace quillon::platform::linux_::QtXcb {

// The GUI application, if this process has one (qGuiApp would cast any
// application object blindly).
inline QGuiApplication* guiApplication()
{
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance());
}

// The xcb connection of the app's Qt platform; null off the xcb platform or
// without a GUI application.
inline xcb_connection_t* connection()
{
    QGuiApplication* app = guiApplication();
    auto* x11 = app ? app->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

} // namespace quillon::platform::linux_::QtXcb
