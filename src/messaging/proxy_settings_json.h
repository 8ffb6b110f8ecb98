// The stored form of one proxy entry: a plain JSON object. Pure.
#pragma once

#include "contracts/wide_string.h"
#include "messaging/proxy_config.h"

namespace orrery {

// Absent members read as empty, 0 and false. False only for a text that is no JSON document.
bool ReadProxyRecord(const WideString& text, ProxyRecord& record);
// Text members are left out if they are empty.
WideString WriteProxyRecord(const ProxyRecord& record);

ProxyRecord RecordOf(const IProxySetting& entry);

}  // namespace orrery
