// The proxy settings of the device as a proxy list of the transport: the last used proxy first, then the
// configured ones, else a direct entry. All the work is done at construction; a change of the settings is
// seen by the next object. It chooses no proxy and makes no connection.
//
// An object is used by one thread.
#pragma once

#include "contracts/config_util.h"
#include "contracts/wide_string.h"
#include "contracts/wirelink.h"

namespace orrery {

class CMessageObject;

class IProxyConfig {
  public:
    virtual ~IProxyConfig() = default;
    virtual bool IsValid() = 0;  // there is a usable list
    // Null if there is none; owned by this object.
    virtual IProxyList* GetProxyList() = 0;
    virtual IProxySetting* GetExplicitProxy() = 0;
    virtual IProxySetting* GetWpadProxy() = 0;
    // Stores `entry`, or deletes what is stored for null. True if something was written or deleted.
    virtual bool SetUsedProxy(const IProxySetting* entry, bool alternative) = 0;
    // Read anew; an entry given earlier is gone. Null if none is stored.
    virtual IProxySetting* GetUsedProxy(bool alternative) = 0;
    virtual void AttachToServiceClient(IServiceClient* client) = 0;
    virtual void AttachToConnection(IConnection* connection) = 0;
};

// A copy of an entry's values, for use after the entry is gone.
struct ProxyRecord {
    int32_t Mode = ProxyDirect;
    WideString ProxyList;
    WideString Username;
    WideString Password;
    WideString WPADUrl;
    bool WPADAutoDetect = false;
    bool Fallback = false;
};

class CProxyConfig final : public IProxyConfig {
  public:
    // Neither is owned; without either the object isn't valid.
    CProxyConfig(ConfigUtil* configUtil, IWirelink* wirelink);
    ~CProxyConfig() override;
    CProxyConfig(const CProxyConfig&) = delete;
    CProxyConfig& operator=(const CProxyConfig&) = delete;

    bool IsValid() override { return valid; }
    IProxyList* GetProxyList() override { return proxyList; }
    IProxySetting* GetExplicitProxy() override { return explicitProxy; }
    IProxySetting* GetWpadProxy() override { return wpadProxy; }
    bool SetUsedProxy(const IProxySetting* entry, bool alternative) override;
    IProxySetting* GetUsedProxy(bool alternative) override;
    void AttachToServiceClient(IServiceClient* client) override;
    void AttachToConnection(IConnection* connection) override;

  private:
    bool AddLastUsedProxy();
    bool AddConfiguredProxies();
    bool AddConfiguredProxy(const CMessageObject& object, bool first);
    bool AddExplicitProxy(const CMessageObject& object, bool fallback);
    void AddWpadProxy(const CMessageObject& object, bool fallback, bool first);
    WideString ApplyDefaultPort(const WideString& proxyText) const;
    IProxySetting* Copy(const IProxySetting& entry) const;
    void Release(IProxySetting*& entry) const;

    IWirelink* const wirelink;
    ConfigUtil* const configUtil;
    IProxyList* proxyList = nullptr;
    IProxySetting* explicitProxy = nullptr;
    IProxySetting* wpadProxy = nullptr;
    IProxySetting* usedProxy = nullptr;
    bool valid = false;
};

}  // namespace orrery
