#include "ProfileCooling.h"

#include "platform/PowerProfiles.h"

#include <QPointer>

namespace quillon::app {

ProfileCooling::ProfileCooling(platform::PowerProfiles& profiles, QObject* parent)
    : QObject(parent)
    , m_profiles(profiles)
{
}

ProfileCooling::~ProfileCooling()
{
    if (m_wanted)
        m_profiles.release();
}

QString ProfileCooling::profileFor(Kind kind)
{
    switch (kind) {
    case Kind::silent:
        return QStringLiteral("power-saver");
    case Kind::balanced:
        return QStringLiteral("balanced");
    case Kind::max:
        break;
    }
    return QStringLiteral("performance");
}

void ProfileCooling::want(std::optional<Kind> kind)
{
    if (kind == m_wanted)
        return;
    m_wanted = kind;
    if (!kind) {
        m_profiles.release();
        setText({});
        return;
    }
    m_profiles.hold(profileFor(*kind), QStringLiteral("Quillon: cooling"),
        [self = QPointer<ProfileCooling>(this), kind](bool held, const QString& error) {
            if (!self || self->m_wanted != kind)
                return;
            const QString names[] = {tr("Power saver"), tr("Balanced"), tr("Performance")};
            self->setText(held ? tr("Cooling through the power profile: %1").arg(names[static_cast<int>(*kind)])
                               : tr("The power profile could not be held: %1").arg(error));
        });
}

void ProfileCooling::setText(const QString& text)
{
    if (text == m_text)
        return;
    m_text = text;
    emit textChanged();
}

} // namespace quillon::app
