// The registry of event handlers, and the one policy under which every event runs: conditions, the handler
// itself, follow-up events, retries, actions of a server's reply, error state.
//
// Handlers are added before the first event; after that any thread may execute events, as many at once as the
// host likes, and no lock is held while one runs.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "context/context_ref.h"
#include "contracts/tracebox.h"
#include "execution/event_execution.h"
#include "execution/event_handler.h"
#include "platform/mutex.h"

namespace orrery {

class IDispatcherHelper;

class CPluginEventHandlers {
  public:
    // `context` is handed to every handler. The pointers outlive the registry.
    CPluginEventHandlers(ITracebox* tracebox, IDispatcherHelper* dispatcher, ISchedulerHelper* scheduler,
                         ContextRef context)
        : context(std::move(context)), tracebox(tracebox), dispatcher(dispatcher), scheduler(scheduler) {}
    virtual ~CPluginEventHandlers();
    CPluginEventHandlers(const CPluginEventHandlers&) = delete;
    CPluginEventHandlers& operator=(const CPluginEventHandlers&) = delete;

    // A name that is there already keeps its handler.
    void AddEventHandler(const WideString& name, std::unique_ptr<CEventHandler> handler) EXCLUDES(stringLock);
    CEventHandler* GetEventHandler(const WideString& name) const;
    // The names, separated by semicolons; owned by the registry, and good until a handler is added.
    const char16_t* GetEventHandlerString() EXCLUDES(stringLock);
    // 0, 1260 or 0x8054820D.
    uint32_t CheckHandlerConditions(const CEventHandler& handler, const CEventExecution& execution) const;
    // 0, 87 for a name without a handler, one of the codes above, or the handler's own. What a handler throws
    // goes through.
    uint32_t ExecuteEventHandler(const WideString& name, const CMessageObject& event);

    // None once the context was given up.
    ContextRef GetContext() EXCLUDES(contextLock);
    // Hands the registry's share to the caller: no later event reaches the context. Whoever comes second gets
    // none.
    ContextRef GiveUpContext() EXCLUDES(contextLock);

  private:
    struct Outcome {
        uint32_t result = 0;     // what the caller hears
        uint32_t runResult = 0;  // what the handler returned, 0 if it didn't run
    };

    Outcome RunHandler(CEventHandler& handler, CEventExecution& execution);
    bool RaiseRequestedSequence(const CEventHandler& handler, const CEventSequence& sequence) const;
    void RaiseServerActions(CMessageObject&& response) const;
    void UpdateErrorState(const CEventHandler& handler, CEventExecution& execution, Outcome& outcome) const;
    uint32_t RequestRegistration(const CEventHandler& handler) const;

    std::map<WideString, std::unique_ptr<CEventHandler>> handlers;
    Mutex stringLock;  // a leaf, as is the next
    WideString handlerString GUARDED_BY(stringLock);
    uint32_t cacheFlags GUARDED_BY(stringLock) = 0;  // bit 0: `handlerString` is valid
    Mutex contextLock;
    ContextRef context GUARDED_BY(contextLock);
    ITracebox* const tracebox;  // may be null
    IDispatcherHelper* const dispatcher;
    ISchedulerHelper* const scheduler;
};

}  // namespace orrery
