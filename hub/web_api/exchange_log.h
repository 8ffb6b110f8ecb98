// The latest 1,000 requests of devices and what became of them. It doesn't hold bodies of any size. The
// server's one thread.
#pragma once

#include <deque>
#include <string>

namespace orrery::hub {

class ExchangeLog {
  public:
    // `exchange` is a JSON object.
    void Add(std::string exchange) {
        exchanges.push_back(std::move(exchange));
        if (exchanges.size() > capacity) exchanges.pop_front();
    }
    void Clear() { exchanges.clear(); }
    const std::deque<std::string>& All() const { return exchanges; }  // oldest first

  private:
    static constexpr size_t capacity = 1000;

    std::deque<std::string> exchanges;
};

}  // namespace orrery::hub
