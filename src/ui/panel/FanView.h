#pragma once

#include <QColor>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariant>

namespace quillon::app {
class FanController;
class Settings;
} // namespace quillon::app

namespace quillon::ui {

// The fan section's and the temperature badge's view: the status texts, the
// three profiles with their blurbs, the curve of the profile in force with
// the current temperature marked on it, the boost choices, and the manual
// slider, whose value goes to the fan controller once it rests for
// kSliderSettleMs (or at once when released), not on every step of a drag.
class FanView : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString status READ status NOTIFY changed)
    Q_PROPERTY(QString temperatures READ temperatures NOTIFY changed)
    Q_PROPERTY(int fanCount READ fanCount NOTIFY fansChanged)
    Q_PROPERTY(QStringList fanSpeeds READ fanSpeeds NOTIFY fansChanged)
    Q_PROPERTY(QString boostCountdown READ boostCountdown NOTIFY changed)
    Q_PROPERTY(QString triggerNote READ triggerNote NOTIFY changed)
    Q_PROPERTY(QString helperLine READ helperLine NOTIFY changed)
    Q_PROPERTY(QString helperAction READ helperAction NOTIFY changed)
    Q_PROPERTY(QVariantList profiles READ profiles NOTIFY languageChanged)
    Q_PROPERTY(QString blurb READ blurb NOTIFY changed)
    Q_PROPERTY(QVariantList curvePoints READ curvePoints NOTIFY curveChanged)
    Q_PROPERTY(QVariant curveMarker READ curveMarker NOTIFY markerChanged)
    Q_PROPERTY(QVariantList boostChoices READ boostChoices CONSTANT)
    Q_PROPERTY(double manualSlider READ manualSlider WRITE setManualSlider NOTIFY sliderChanged)
    Q_PROPERTY(bool badgeVisible READ badgeVisible NOTIFY changed)
    Q_PROPERTY(QString badgeText READ badgeText NOTIFY changed)
    Q_PROPERTY(QColor badgeColor READ badgeColor NOTIFY changed)

public:
    static constexpr int kSliderSettleMs = 300;
    static constexpr double kInitialSlider = 100.0;
    // The boost lengths offered, in seconds.
    static constexpr int kBoostChoices[] = {300, 600, 1800, 3600};

    FanView(app::FanController& fan, app::Settings& settings, QObject* parent = nullptr);

    QString status() const;
    QString temperatures() const;
    int fanCount() const;
    QStringList fanSpeeds() const;
    QString boostCountdown() const;
    QString triggerNote() const;
    QString helperLine() const;
    QString helperAction() const;
    // {kind, label, blurb} for silent, balanced, max.
    QVariantList profiles() const;
    // The blurb of the profile chosen.
    QString blurb() const;
    // {temp, percent} points of the profile in force: another manager's, else the user's.
    QVariantList curvePoints() const;
    // {temp, percent} at the current temperature on that curve; undefined without a reading.
    QVariant curveMarker() const;
    // {label, seconds} for each boost length.
    QVariantList boostChoices() const;

    double manualSlider() const { return m_manualSlider; }
    void setManualSlider(double percent);
    // Sends a pending slider value now.
    Q_INVOKABLE void commitSlider();
    // Takes a boost length; a running manual boost restarts with it.
    Q_INVOKABLE void chooseBoost(int seconds);

    bool badgeVisible() const;
    QString badgeText() const;
    QColor badgeColor() const;

signals:
    // Separate signals, so that a poll (every second) re-evaluates only the
    // texts it touches and lists in the panel are rebuilt only when they change.
    void changed();
    void fansChanged();
    void curveChanged();
    void markerChanged();
    void languageChanged();
    void sliderChanged();

private:
    void sendSlider();

    app::FanController& m_fan;
    double m_manualSlider = kInitialSlider;
    QTimer m_settle;
};

} // namespace quillon::ui
