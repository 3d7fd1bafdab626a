#pragma once

#include <QObject>
#include <QVariantList>

namespace quillon::app {
class Settings;
class TriggerManager;
} // namespace quillon::app

namespace quillon::ui {

// The automation section's view: its summary and note, the listed apps with
// their icons and cooling, and the picker of installed apps (listed afresh
// each time it opens, filtered by a search text over names and ids).
// Icons are "image://appicon/…" URLs, served by AppIconProvider.
class AutomationView : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QString note READ note NOTIFY changed)
    Q_PROPERTY(bool batteryStop READ batteryStop NOTIFY changed)
    Q_PROPERTY(QVariantList apps READ apps NOTIFY appsChanged)
    Q_PROPERTY(QVariantList coolingChoices READ coolingChoices NOTIFY changed)
    Q_PROPERTY(bool pickerShown READ pickerShown WRITE setPickerShown NOTIFY pickerChanged)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY pickerChanged)
    Q_PROPERTY(QVariantList candidates READ candidates NOTIFY pickerChanged)
    // {id, name, icon} of the applications whose full-screen windows do not count.
    Q_PROPERTY(QVariantList excluded READ excluded NOTIFY rulesChanged)
    // Whether the picker adds to the exclusions rather than the apps list.
    Q_PROPERTY(bool pickingExclusion READ pickingExclusion NOTIFY pickerChanged)
    // Empty, or why the rule cannot work on this computer.
    Q_PROPERTY(QString fullScreenUnavailable READ fullScreenUnavailable NOTIFY changed)
    Q_PROPERTY(QString mediaUnavailable READ mediaUnavailable NOTIFY changed)
    // Empty, or why no app can be added now (the list is full).
    Q_PROPERTY(QString addRefusal READ addRefusal NOTIFY appsChanged)

public:
    // The picker shows at most this many matches; the search narrows them.
    static constexpr int kMaxCandidates = 12;

    AutomationView(app::TriggerManager& triggers, app::Settings& settings, QObject* parent = nullptr);

    // Whether the low-battery stop is on, which holds automation off at 12 % too.
    bool batteryStop() const;

    QString summary() const;
    QString note() const;
    // {id, name, icon, cooling} per listed app; cooling "none" when none.
    QVariantList apps() const;
    // {value, label}: none, silent, balanced, max.
    QVariantList coolingChoices() const;

    bool pickerShown() const { return m_pickerShown; }
    void setPickerShown(bool shown);
    QString query() const { return m_query; }
    void setQuery(const QString& query);
    // {id, name, icon} of installed apps not listed yet that match the query.
    QVariantList candidates() const;
    QString addRefusal() const;

    QVariantList excluded() const;
    bool pickingExclusion() const { return m_pickingExclusion; }
    QString fullScreenUnavailable() const;
    QString mediaUnavailable() const;
    // Opens the picker (or closes it, when open for the same list).
    Q_INVOKABLE void togglePicker(bool forExclusion);
    Q_INVOKABLE void removeExcluded(const QString& id);

    // Lists an installed app (without cooling), or excludes it when the
    // picker was opened for that, and closes the picker.
    Q_INVOKABLE void add(const QString& id);
    Q_INVOKABLE void remove(const QString& id);
    // value: "none", "silent", "balanced" or "max".
    Q_INVOKABLE void setCooling(const QString& id, const QString& value);

    static QString iconUrl(const QString& icon);

signals:
    void changed();
    void appsChanged();
    void pickerChanged();
    void rulesChanged();

private:
    app::TriggerManager& m_triggers;
    const app::Settings& m_settings;
    QVariantMap appEntry(const QString& id, const QString& fallbackName) const;

    bool m_pickerShown = false;
    bool m_pickingExclusion = false;
    QString m_query;
    QVariantList m_installed; // {id, name, icon}, read when the picker opens
};

} // namespace quillon::ui
