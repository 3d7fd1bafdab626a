#include "CanberraSoundPlayer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <canberra.h>

namespace quillon::platform::linux_ {

CanberraSoundPlayer::CanberraSoundPlayer(QString fallback)
    : m_fallback(std::move(fallback))
{
}

CanberraSoundPlayer::~CanberraSoundPlayer()
{
    if (m_context)
        ca_context_destroy(m_context);
}

void CanberraSoundPlayer::playFinished()
{
    if (!m_context && ca_context_create(&m_context) != CA_SUCCESS) {
        m_context = nullptr;
        return;
    }
    const int themed = ca_context_play(m_context, 0, CA_PROP_EVENT_ID, "complete", CA_PROP_EVENT_DESCRIPTION,
        "Render finished", static_cast<char*>(nullptr));
    if (themed != CA_ERROR_NOTFOUND)
        return; // played, or no sound to be had on this machine at all
    const QByteArray path = QFile::encodeName(fallbackPath());
    if (!path.isEmpty())
        ca_context_play(m_context, 0, CA_PROP_MEDIA_FILENAME, path.constData(), static_cast<char*>(nullptr));
}

QString CanberraSoundPlayer::fallbackPath()
{
    if (!m_fallback.startsWith(QLatin1Char(':')))
        return m_fallback;
    const QString cached = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QLatin1Char('/')
        + QFileInfo(m_fallback).fileName();
    if (!QFileInfo::exists(cached)) {
        QDir().mkpath(QFileInfo(cached).path());
        if (!QFile::copy(m_fallback, cached))
            return {};
    }
    return cached;
}

} // namespace quillon::platform::linux_
