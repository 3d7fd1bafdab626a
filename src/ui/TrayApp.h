#pragma once

namespace quillon::ui {

// The `quillon` executable's app role: `quillon` (the tray app), `quillon
// --demo` (the tray app on a simulated Mac with its own helper, see
// DemoMode) and `quillon ctl ...` (see CtlCommand).
class TrayApp {
public:
    TrayApp() = delete;

    static int run(int argc, char** argv);
};

} // namespace quillon::ui
