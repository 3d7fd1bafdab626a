#include "CommandLine.h"

#include <cstdio>

// quillon: the tray app and every command-line role.
int main(int argc, char** argv)
{
    return quillon::cli::CommandLine::run(argc, argv, [](int, char** args) {
        std::fprintf(stderr, "%s: the tray app is not part of this build yet; the tools are:\n", args[0]);
        quillon::cli::CommandLine::printUsage(args[0], false);
        return 2;
    });
}
