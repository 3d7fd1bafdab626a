#include "LongTimer.h"

#include <algorithm>

namespace quillon::app {

LongTimer::LongTimer(std::chrono::milliseconds chunk, QObject* parent)
    : QObject(parent)
    , m_chunk(std::clamp(chunk, std::chrono::milliseconds(1), kDefaultChunk))
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        if (std::chrono::steady_clock::now() < m_deadline)
            armNextChunk();
        else
            emit fired();
    });
}

void LongTimer::start(std::chrono::milliseconds span)
{
    m_deadline = std::chrono::steady_clock::now() + std::max(span, std::chrono::milliseconds(0));
    armNextChunk();
}

void LongTimer::stop()
{
    m_timer.stop();
}

std::chrono::milliseconds LongTimer::remaining() const
{
    if (!m_timer.isActive())
        return std::chrono::milliseconds(0);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

void LongTimer::armNextChunk()
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
    m_timer.start(std::clamp(left, std::chrono::milliseconds(0), m_chunk));
}

} // namespace quillon::app
