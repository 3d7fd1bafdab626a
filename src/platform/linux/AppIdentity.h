#pragma once

#include <QString>

namespace quillon::platform::linux_ {

// How the app names itself to desktop services.
namespace AppIdentity {
inline QString appId()
{
    return QStringLiteral("org.quillon.Quillon");
}
inline QString displayName()
{
    return QStringLiteral("Quillon");
}
} // namespace AppIdentity

} // namespace quillon::platform::linux_
