#include "App/Shell/EditorProgram.h"
#include "Cli/CommandLine.h"

int main(int argc, char** argv) {
    return ombrel::runCommandLine(argc, argv, [&](std::span<const std::string> files) {
        return ombrel::runEditor(argc, argv, files);
    });
}
