// Holds a home for one running agent; the system lets go of it with the process, however that ends.
#pragma once

#include <string>

#include "agent/system/file_descriptor.h"

namespace orrery::agent {

class HomeLock {
  public:
    // False, and `problem` says why, if another agent holds it or the file can't be made.
    bool Take(const std::string& lockFile, std::string& problem);

  private:
    FileDescriptor file;
};

}  // namespace orrery::agent
