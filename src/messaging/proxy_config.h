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

// None of these fails otherwise than by its result, and none reaches the network. What is handed out stays
// this object's and goes with it.
class IProxyConfig {
  public:
    virtual ~IProxyConfig() = default;
    // There is a usable list; without one its user goes without a proxy.
    virtual bool IsValid() = 0;
    // In the order of the attempts. Null without transport or store.
    virtual IProxyList* GetProxyList() = 0;
    // The first of its kind that was met, as a copy. Null if there is none.
    virtual IProxySetting* GetExplicitProxy() = 0;
    // The same; of the configured ones only that at the head of the list counts.
    virtual IProxySetting* GetWpadProxy() = 0;
    // Stores a copy of `entry`, or deletes what is stored for null. True if something was written or deleted:
    // not for what is stored already. An entry given by GetUsedProxy earlier is gone.
    virtual bool SetUsedProxy(const IProxySetting* entry, bool alternative) = 0;
    // Read anew; an entry given earlier is gone. Null if none is stored, or none that can be read.
    virtual IProxySetting* GetUsedProxy(bool alternative) = 0;
    // Give the list to a client or a connection, which copies it. Nothing happens for null or without a list.
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
