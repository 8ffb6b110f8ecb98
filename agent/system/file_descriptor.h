// Owns one descriptor of the system and closes it. Knows nothing of what it refers to.
#pragma once

#include <unistd.h>

#include <utility>

namespace orrery::agent {

class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int number) : descriptor(number) {}
    ~FileDescriptor() { Close(); }
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            Close();
            descriptor = std::exchange(other.descriptor, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int Get() const { return descriptor; }
    bool IsOpen() const { return descriptor >= 0; }
    void Close() {
        if (descriptor >= 0) close(std::exchange(descriptor, -1));
    }

  private:
    int descriptor = -1;
};

}  // namespace orrery::agent
