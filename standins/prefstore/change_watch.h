// Tells a waiting thread that the store's file was changed by some process, or that it was woken. It sleeps
// in the kernel without a time-out. It reads nothing of the file.
#pragma once

#include <string>

namespace orrery::prefstore {

class ChangeWatch {
  public:
    ChangeWatch();
    ~ChangeWatch();
    ChangeWatch(const ChangeWatch&) = delete;
    ChangeWatch& operator=(const ChangeWatch&) = delete;

    // Watches this file in place of the one before. False if the system refuses; then only Wake() is heard.
    // One caller at a time; another thread may be waiting.
    bool Watch(const std::string& path);
    // Tells the watches of every process that a transaction is complete.
    static void Announce(const std::string& path);

    // From any thread. A wake-up before the wait is not lost.
    void Wake();
    // True if the file may have changed; false if it was only woken.
    bool Wait();

  private:
    int inotify;    // -1: the system has none left
    int wakeEvent;  // an eventfd
    int watched = -1;
};

}  // namespace orrery::prefstore
