#include "Cli/CommandLine.h"

int main(int argc, char** argv) {
    return ombrel::runCommandLine(argc, argv);
}
