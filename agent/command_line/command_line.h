// The program's commands and options, and what each of them does with a home.
#pragma once

namespace orrery::agent {

// Everything that the program does; gives its exit code. Called once, before any thread is started.
int RunCommandLine(int count, char** arguments);

}  // namespace orrery::agent
