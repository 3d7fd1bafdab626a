#include "EchoedInput.h"

namespace quillon::ui {

QString EchoedInput::of(const QString& input)
{
    qsizetype end = std::min(input.size(), maxChars);
    // Never half a surrogate pair.
    if (end < input.size() && end > 0 && input.at(end - 1).isHighSurrogate())
        --end;
    QString shown = input.left(end);
    for (QChar& c : shown) {
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char('?');
    }
    if (end < input.size())
        shown += QChar(0x2026);
    return shown;
}

} // namespace quillon::ui
