#include "agent/text/complaint.h"

#include <cstdio>

namespace orrery::agent {

int Complain(const std::string& problem) {
    std::fprintf(stderr, "orrery-agent: %s\n", problem.c_str());
    return 1;
}

}  // namespace orrery::agent
