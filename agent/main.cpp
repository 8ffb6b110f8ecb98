#include <cstdio>
#include <exception>

#include "agent/command_line/command_line.h"

int main(int count, char** arguments) {
    try {
        return orrery::agent::RunCommandLine(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orrery-agent: %s\n", error.what());
        return 1;
    }
}
