#include "CommandLine.h"

// quillon-helper: every role but the tray app, without GUI libraries, so the
// privileged daemon never loads GUI code.
int main(int argc, char** argv)
{
    return quillon::cli::CommandLine::run(argc, argv, {});
}
