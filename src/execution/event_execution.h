// The settings of one event and its persisted error state, loaded for one run; what changed is written back
// by the destructor. Used by one thread; of two runs of the same event the one that ends last wins.
#pragma once

#include <cstdint>

#include "contracts/config_util.h"

namespace orrery {

class CEventExecution {
  public:
    // Without a store it runs on its defaults and writes nothing.
    CEventExecution(ConfigUtil* configUtil, WideString eventName);
    virtual ~CEventExecution();
    CEventExecution(const CEventExecution&) = delete;
    CEventExecution& operator=(const CEventExecution&) = delete;

    // Seconds; evaluated anew for each retry.
    uint32_t GetRetryDelay();
    // Until executions are allowed again; 0 if they are.
    uint32_t GetRemainingSeconds() const;
    void ClearErrors();
    void CountError(uint32_t error);

    const WideString eventName;
    ConfigUtil* const configUtil;
    bool needRegister = false;
    uint32_t maxErrors = 0;                // 0: no limit
    uint32_t allowExecutionsAfter = 3600;  // seconds
    uint32_t retryDelay = 1800;            // seconds
    // As last read from the store.
    int64_t storedLastErrorTime = 0;
    uint32_t storedErrorCount = 0;
    uint32_t storedLastError = 0;
    // As they are now. Times are seconds since 1970.
    int64_t lastErrorTime = 0;
    uint32_t errorCount = 0;
    uint32_t lastError = 0;

  private:
    void ReadSettings();
    void ReadErrorState();
    int64_t ReadStored(const char16_t* name);
    uint32_t Store(const char16_t* name, bool isSet, const WideString& text);
    void StoreChanges();
    WideString Key(const char16_t* name) const;
    int64_t AllowedFrom() const;
};

}  // namespace orrery
