// What a library does when it is attached to the process and when it is detached from it. One static object
// for a library; its functions run under the loader's lock, and must not load or wait.
#pragma once

namespace orrery::platform {

class EntryPoint {
  public:
    using Function = void (*)();

    EntryPoint(Function attach, Function detach) : detach(detach) { attach(); }
    ~EntryPoint() { detach(); }
    EntryPoint(const EntryPoint&) = delete;
    EntryPoint& operator=(const EntryPoint&) = delete;

  private:
    const Function detach;
};

}  // namespace orrery::platform
