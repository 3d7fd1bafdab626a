#pragma once

#include <QDir>
#include <QQuickWindow>
#include <QTest>
#include <gtest/gtest.h>

namespace quillon::test {

// Shows the window and keeps what it shows as folder/name for people to look
// at: a picture, not a check (the test taking it asserts what it shows). Not
// drawn in a sanitizer build: Qt Quick's renderer keeps what it drew in caches
// it never frees at exit, which the leak check would report as ours.
inline void keepPicture(
    [[maybe_unused]] QQuickWindow& window, [[maybe_unused]] const QString& folder, [[maybe_unused]] const QString& name)
{
#ifndef __SANITIZE_ADDRESS__
    window.show();
    QDir().mkpath(folder);
    QTest::qWait(400); // the switches' handles slide into place
    EXPECT_TRUE(window.grabWindow().save(folder + QLatin1Char('/') + name)) << name.toStdString();
#endif
}

} // namespace quillon::test
