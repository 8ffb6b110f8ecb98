// One manager thread and what is its own: that it was told to stop, with which last word, and whether it
// wants the channel. It doesn't know what the thread does.
//
// One that is late at its end runs on by itself. The next one waits for it before it does anything, so that
// there is one at a time, and what each says comes in the order in which they were started.
//
// Threads: Stop and WaitForEnd belong to the owner; IsStopped and BindOnStop to the thread itself.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "platform/event.h"

namespace orrery {

class ManagerThread {
  public:
    using Body = std::function<void(ManagerThread& self)>;

    // `predecessor` may be null. Throws std::bad_alloc without memory or events, std::system_error without a
    // thread.
    ManagerThread(Body body, std::shared_ptr<ManagerThread> predecessor);
    ~ManagerThread();  // waits for the end
    ManagerThread(const ManagerThread&) = delete;
    ManagerThread& operator=(const ManagerThread&) = delete;

    // To be called once. `sendBind`: the bind event is the thread's last word.
    void Stop(bool sendBind);
    // False if the time is over before.
    bool WaitForEnd(uint64_t milliseconds);

    bool IsStopped() const { return stopEvent.IsSet(); }
    // To be asked once it is stopped.
    bool BindOnStop() const { return bindOnStop; }

    platform::Event stopEvent;
    bool active = false;  // the channel is wanted; only for the thread itself

  private:
    void Run(const Body& body);

    platform::Event ended;
    bool bindOnStop = true;  // written before `stopEvent` is signalled, read after
    std::shared_ptr<ManagerThread> predecessor;
    std::thread thread;  // the last field: it runs when the others are there
};

}  // namespace orrery
