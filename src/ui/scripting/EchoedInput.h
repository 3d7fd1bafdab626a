#pragma once

#include <QString>

namespace quillon::ui {

// What an error message may quote of what it was given. A caller can pass
// anything (a megabyte of text, control characters); a message names it
// recognisably and stays one short line.
class EchoedInput {
public:
    static constexpr qsizetype maxChars = 60;

    // The input, cut after maxChars characters (marked with "…") and with
    // line breaks and other control characters shown as "?".
    static QString of(const QString& input);
};

} // namespace quillon::ui
