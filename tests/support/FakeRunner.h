#pragma once

#include "platform/PrivilegedRunner.h"

#include <QString>

namespace quillon::test {

// Root rights that are never asked for: keeps the script it was given and
// ends with the result the test chose.
class FakeRunner : public platform::PrivilegedRunner {
public:
    void run(const QString& text, Done done) override
    {
        ++runs;
        script = text;
        done(next);
    }

    Result next{Result::Kind::success, {}};
    int runs = 0;
    QString script;
};

} // namespace quillon::test
