#pragma once

#include "Pacer.h"

namespace quillon::cli {

// The real clock. While one exists, SIGINT and SIGTERM only set interrupted()
// (and cut a running sleep short); the previous handlers return on destruction.
class RealPacer : public Pacer {
public:
    RealPacer();
    ~RealPacer() override;
    RealPacer(const RealPacer&) = delete;
    RealPacer& operator=(const RealPacer&) = delete;

    double seconds() override;
    void sleep(double seconds) override;
    bool interrupted() override;
};

} // namespace quillon::cli
