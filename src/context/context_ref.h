// A share in the life of a plug-in's context: whoever holds one may use the context, and the last one to go
// takes it along. It knows nothing of what a context does. One thread uses a handle at a time; handles of one
// context may be used at once.
#pragma once

#include <utility>

#include "context/plugin_context.h"

namespace orrery {

class ContextRef {
  public:
    ContextRef() = default;
    // Takes over a reference that is the caller's, as the one that a context is born with.
    explicit ContextRef(IPluginContext* owned) : context(owned) {}
    ContextRef(const ContextRef& other) : context(other.context) {
        if (context) context->AddRef();
    }
    ContextRef(ContextRef&& other) noexcept : context(std::exchange(other.context, nullptr)) {}
    ContextRef& operator=(ContextRef other) noexcept {
        std::swap(context, other.context);
        return *this;
    }
    ~ContextRef() {
        if (context) context->Release();
    }

    IPluginContext* Get() const { return context; }
    IPluginContext* operator->() const { return context; }
    explicit operator bool() const { return context != nullptr; }

  private:
    IPluginContext* context = nullptr;
};

}  // namespace orrery
