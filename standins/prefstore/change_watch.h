// Tells a waiting thread that the store's file was changed through another watch, or that it was woken. It
// sleeps in the kernel without a time-out. It reads nothing of the file.
#pragma once

#include <string>

namespace orrery::prefstore {

class ChangeWatch {
  public:
    ChangeWatch();
    ~ChangeWatch();
    ChangeWatch(const ChangeWatch&) = delete;
    ChangeWatch& operator=(const ChangeWatch&) = delete;

    // Watches this file of that folder in place of the one before. False if the system refuses; then only
    // Wake() is heard. What is complete before the call isn't told. One caller at a time, also with Announce;
    // another thread may be waiting.
    bool Watch(const std::string& folder, const std::string& path);
    // Tells the watches of every process that a transaction is complete. Where there is no other, it costs
    // nobody a wake-up.
    void Announce() const;

    // From any thread. A wake-up before the wait is not lost.
    void Wake();
    // True if the file may have changed; false if it was only woken.
    bool Wait();

  private:
    bool IsAlone() const;

    int inotify;    // -1: the system has none left
    int wakeEvent;  // an eventfd
    int watched = -1;
    // Of the folder, with a read lock that says that somebody watches here: -1 for none. The system gives it
    // up with the process.
    int presence = -1;
    std::string path;
};

}  // namespace orrery::prefstore
