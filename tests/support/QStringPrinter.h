#pragma once

#include <QString>
#include <ostream>

// Readable QStrings in test failure messages.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
