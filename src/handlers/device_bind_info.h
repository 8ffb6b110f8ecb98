// The bind record: through which provider the server can reach this device now, what was last told to the
// server, and whether the two differ. It sends nothing. One thread.
#pragma once

#include <cstdint>

#include "contracts/config_util.h"
#include "foundation/json/message_object.h"

namespace orrery {

// As they stand on the wire.
enum NotificationProvider : uint32_t {
    ProviderNone = 0,
    ProviderDmp = 2,         // the device polls
    ProviderCommandHub = 6,  // the push channel is up
};

class CDeviceBindInfo {
  public:
    // A null `configUtil` is replaced by the process's store. Throws std::invalid_argument("configUtil")
    // without one. Reads what was last told.
    CDeviceBindInfo(uint32_t provider, ConfigUtil* configUtil, WideString recipientId);

    // What is to be told; null if there is nothing to say. Stays the record's.
    const CMessageObject* BuildMessage();
    // The text to be told is not the one last told, letter for letter.
    bool HasChanged();
    // To be called for a text that the server has accepted.
    bool SaveLastInfoSent();

  private:
    void ReadLastInfoSent();

    ConfigUtil* const configUtil;
    WideString lastInfoSent;

  public:
    // Of what was last told: 0 and empty if nothing was, or if it can't be read.
    uint32_t lastProvider = ProviderNone;
    WideString lastRecipientId;

    const uint32_t provider;
    const WideString recipientId;

  private:
    CMessageObject message;
};

}  // namespace orrery
