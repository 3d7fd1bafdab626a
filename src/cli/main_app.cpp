#include "CommandLine.h"
#include "ui/TrayApp.h"

// quillon: the tray app and every command-line role.
int main(int argc, char** argv)
{
    return quillon::cli::CommandLine::run(argc, argv, &quillon::ui::TrayApp::run);
}
