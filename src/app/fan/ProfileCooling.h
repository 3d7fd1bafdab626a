#pragma once

#include "core/CoolingProfile.h"

#include <QObject>
#include <QString>
#include <optional>

namespace quillon::platform {
class PowerProfiles;
}

namespace quillon::app {

// Cooling where no program may drive the fans: a cooling profile becomes a
// hold on the firmware's power profile (silent -> power-saver, balanced ->
// balanced, max -> performance), kept while the wish stands and let go when
// it goes. text() says what is in force, for the fan section.
class ProfileCooling : public QObject {
    Q_OBJECT

public:
    using Kind = core::CoolingProfile::Kind;

    // profiles must outlive this object.
    explicit ProfileCooling(platform::PowerProfiles& profiles, QObject* parent = nullptr);
    ~ProfileCooling() override;

    // The profile wanted now; nullopt lets go. Repeating a wish does nothing.
    void want(std::optional<Kind> kind);

    // "Cooling through the power profile: Performance", why a hold failed,
    // or "" when none is wanted.
    QString text() const { return m_text; }

    // The profile daemon's name for a kind.
    static QString profileFor(Kind kind);

signals:
    void textChanged();

private:
    void setText(const QString& text);

    platform::PowerProfiles& m_profiles;
    std::optional<Kind> m_wanted;
    QString m_text;
};

} // namespace quillon::app
