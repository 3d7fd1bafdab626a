#pragma once

#include <QColor>
#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QVariantList>

namespace quillon::ui {

// One page of the welcome window.
struct OnboardingPage {
    QString emoji;
    QColor accent;
    QString title; // may contain line breaks
    QString body;  // may contain line breaks
};

// The six pages of the welcome window, in order. The texts are English in
// the code and German in the translation file; each call translates them
// anew, so a list built after a change of language speaks the new one.
class OnboardingPages {
    Q_DECLARE_TR_FUNCTIONS(OnboardingPages)
public:
    OnboardingPages() = delete;

    static QList<OnboardingPage> build();
    // build() as maps with the keys "emoji", "accent", "title" and "body", for QML.
    static QVariantList forQml();
};

} // namespace quillon::ui
