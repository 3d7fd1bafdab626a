#pragma once

#include "CoolingMerge.h"
#include "CoolingMode.h"

#include <QObject>
#include <optional>

namespace quillon::app {

class FanTemperatures;

// Automatic cooling's state: whether the user's profile cooling is on
// (active), whether it holds a floor at the helper now (engaged) and which
// (floor, percent), and the strongest of other managers' cooling requests
// (trigger), which replaces the user's profile while it stands. Decides,
// from the hotter of the CPU and GPU, what the fan model should do with the
// helper's floor; the model does it. changed() on any change of the four.
// Main thread only.
class AutoCooling : public QObject {
    Q_OBJECT
public:
    using Kind = core::CoolingProfile::Kind;

    // The user's choice in the panel.
    struct Choice {
        CoolingMode mode = CoolingMode::automatic;
        bool fansEnabled = false;
        double manualPercent = 100;
        Kind profile = Kind::balanced;
    };

    enum class Step {
        none,
        send,    // send floor() (cooling engages, or the floor moved)
        release, // hand the fans back
    };

    using QObject::QObject;

    bool active() const { return m_active; }
    bool engaged() const { return m_engaged; }
    double floor() const { return m_floor; }
    std::optional<Kind> trigger() const { return m_trigger; }

    // Switches the user's profile cooling; off also disengages.
    void setActive(bool on);
    // No floor held any more.
    void disengage();
    // source's request ("lid", "render", "apps"; no kind withdraws it);
    // whether the trigger changed.
    bool request(std::optional<Kind> kind, const QString& source);
    // One evaluation at the current temperatures; sentPercent: the floor the
    // helper has. Nothing to do while neither the user's profile cooling nor
    // a trigger stands, or before any reading.
    Step evaluate(const Choice& choice, const FanTemperatures& temperatures, double sentPercent, bool force);
    // The profile to hold as the firmware's power profile where no fan can
    // be driven: a trigger's, else the chosen one while the switch is on (a
    // manual floor has none of its own).
    std::optional<Kind> powerProfile(const Choice& choice) const;

signals:
    void changed();

private:
    CoolingMerge m_merge;
    bool m_active = false;
    bool m_engaged = false;
    double m_floor = 0;
    std::optional<Kind> m_trigger;
};

} // namespace quillon::app
