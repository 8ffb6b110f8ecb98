// The faults that wait for a request to come, in the order in which they were posted. It holds them and
// counts; what one does to an answer is the gate's affair. The server's one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "hub/http/http_message.h"

namespace orrery::hub {

struct Fault {
    std::string description;  // the JSON object that was posted
    std::string match;        // what a target must begin with
    uint64_t count = 1;       // requests still to be hit

    // Instead of the genuine answer, with nothing done for the request.
    std::optional<unsigned> status;
    std::optional<std::string> body;     // instead of the error envelope
    std::optional<std::string> actions;  // a JSON object for the envelope
    bool envelope = true;                // false: a page without anything

    // To the answer, whichever it is.
    std::chrono::milliseconds delay{0};
    WireFault wire;
    bool brokenGzip = false;
    int64_t dateOffset = 0;  // seconds
    std::optional<std::string> entityTag;

    bool ReplacesAnswer() const { return status || wire.endless; }
};

class FaultList {
  public:
    void Add(Fault fault) { pending.push_back(std::move(fault)); }
    // The first that matches, counted down.
    std::optional<Fault> Take(const std::string& target);
    void Clear() { pending.clear(); }
    const std::deque<Fault>& Pending() const { return pending; }

  private:
    std::deque<Fault> pending;
};

}  // namespace orrery::hub
