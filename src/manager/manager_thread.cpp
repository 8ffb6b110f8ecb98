#include "manager/manager_thread.h"

#include <limits>
#include <utility>

namespace orrery {

ManagerThread::ManagerThread(Body body, std::shared_ptr<ManagerThread> predecessor)
    : predecessor(std::move(predecessor)), thread([this, body = std::move(body)] { Run(body); }) {}

ManagerThread::~ManagerThread() {
    thread.join();
}

void ManagerThread::Stop(bool sendBind) {
    bindOnStop = sendBind;
    stopEvent.Set();
}

bool ManagerThread::WaitForEnd(uint64_t milliseconds) {
    platform::Event* const events[] = {&ended};
    return platform::WaitForAny(events, milliseconds) == 0;
}

void ManagerThread::Run(const Body& body) {
    if (predecessor) predecessor->WaitForEnd(std::numeric_limits<uint64_t>::max());
    predecessor.reset();
    body(*this);
    ended.Set();
}

}  // namespace orrery
