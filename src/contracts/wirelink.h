// The HTTP transport, Wirelink.dll: proxy lists, connections, service clients, trust stores.
//
// What an operation is handed it uses only during the call: it copies what it needs. Objects are used by one
// thread at a time; the transport object itself is safe from any thread. Texts are zero-terminated.
#pragma once

#include <cstdint>
#include <string>

#include "contracts/calendar_time.h"
#include "contracts/wide_string.h"

namespace orrery {

// What a request is signed with.
struct AuthorizationInfo {
    uint32_t version = 0;    // 1 for "ZWS", 2 for "ZWS2"
    CalendarTime timestamp;  // UTC, of the signature; all zero leaves it to the transport's clock
    std::string secret;      // UTF-8
    WideString service;      // "ZWS" or "ZWS2"
    WideString authorizationId;
    bool forWebApi = false;  // false for the service clients
    uint8_t reserved[8] = {};
};

// What Receive fills. The pointers are the transport's until FreeResponse.
struct TransportResponse {
    uint32_t size = 0;  // transportResponseSize once initialised
    uint32_t unused = 0;
    uint32_t status = 0;                // HTTP
    const char16_t* headers = nullptr;  // lines ended by CR LF, zero-terminated
    const void* content = nullptr;
    uint32_t contentSize = 0;  // bytes
    CalendarTime date;         // the `Date` of the reply, UTC
};

// The mark of an initialised record. It is part of the contract, and no measure of the record, whose
// pointers are as wide as the machine has them.
inline constexpr uint32_t transportResponseSize = 40;

// Flags of CreateConnection.
enum ConnectionFlag : uint32_t { ConnectionNoRedirects = 0x2, ConnectionNoCookies = 0x8 };

enum ProxyMode : int32_t { ProxyDirect = 0, ProxyExplicit = 1, ProxyWpad = 2 };
enum SystemProxyKind : int32_t { SystemProxyWinHttp = 1, SystemProxyIe = 2, SystemProxyDiscovery = 3 };

// One entry of a proxy list. Any text can be null or empty.
class IProxySetting {
  public:
    virtual ~IProxySetting() = default;
    virtual int32_t Mode() const = 0;  // ProxyMode
    virtual const char16_t* ProxyList() const = 0;
    virtual const char16_t* Username() const = 0;
    virtual const char16_t* Password() const = 0;
    virtual const char16_t* WPADUrl() const = 0;
    virtual const char16_t* FurtherText() const = 0;
    virtual bool WPADAutoDetect() const = 0;
    virtual bool Fallback() const = 0;
    // The same proxy; `Fallback` is not compared.
    virtual bool Equal(const IProxySetting* entry) const = 0;
};

class IProxyList {
  public:
    virtual ~IProxyList() = default;
    // All give true if the entry was appended.
    virtual bool AddDirect(bool fallback) = 0;
    virtual bool AddExplicit(const char16_t* proxyList, const char16_t* username, const char16_t* password,
                             const char16_t* furtherText, bool fallback) = 0;
    virtual bool AddPacUrl(const char16_t* pacUrl, const char16_t* text1, const char16_t* text2,
                           const char16_t* username, const char16_t* password, bool fallback) = 0;
    virtual bool AddSystem(int32_t kind, bool fallback) = 0;  // SystemProxyKind
    // True if the list can be read, from its first entry on; then EndEnumeration is owed.
    virtual bool BeginEnumeration() = 0;
    virtual IProxySetting* NextEntry() = 0;  // null at the end; stays the list's
    virtual void EndEnumeration() = 0;
    virtual bool AddEntry(IProxySetting* entry) = 0;  // the list owns `entry` if it gives true
};

class ITrustStore {
  public:
    virtual ~ITrustStore() = default;
    virtual void SetEnabled(bool enabled) = 0;
    virtual void AddTrustedCertificates(const char16_t* domain, uint32_t count,
                                        const char16_t* const* certificates) = 0;
};

// One request. Results are 0 or an error code (platform/error_codes.h).
class IConnection {
  public:
    virtual ~IConnection() = default;
    // Sends the request with this body. `reserved` is passed through; 0.
    virtual uint32_t SendSigned(const char16_t* contentType, const void* data, uint32_t size,
                                uint32_t reserved, const AuthorizationInfo* authorization) = 0;
    // Fetches the URL into the file, unsigned. 0 or 1246 (not modified): the reply can be received.
    virtual uint32_t Download(const WideString& path, uint32_t& status) = 0;
    // The body comes in plain form, even if the server compressed it.
    virtual uint32_t Receive(TransportResponse* response) = 0;
    virtual void SetProxyList(IProxyList* proxyList) = 0;
    virtual void AddHeader(const char16_t* name, const char16_t* value) = 0;
    // The headers as sent, in lines ended by CR LF, without the request line. False if nothing was sent.
    virtual bool GetSentHeaders(WideString& headers) = 0;
    // Fills `entry`, one made by NewProxySetting, with what was really used. False if nothing was.
    virtual bool GetProxyUsed(IProxySetting* entry) = 0;
    virtual void SetTrustStore(ITrustStore* store) = 0;
};

// A client of one service of the server. Each operation is one request.
class IServiceClient {
  public:
    virtual ~IServiceClient() = default;
    virtual void SetProxyList(IProxyList* proxyList) = 0;
    // Puts the local file (a wide path) into the container under that name.
    virtual bool UploadFile(const char16_t* container, const char16_t* name, const char16_t* path) = 0;
    // Puts a message into the queue, or into the event hub, of that name. `message` is UTF-8.
    virtual bool Enqueue(const char16_t* container, const char16_t* label, const char* message) = 0;
    // `tag` has room for entityTagCapacity characters: the tag to ask with, and then that of the answer. True
    // for 200 and 304. `size` is the room in `data`, and on true the length of the text there, which a zero
    // follows if `size` isn't 0. `status` is the HTTP status, 0 if there was no answer.
    virtual bool GetDataById(const char16_t* id, char16_t* tag, void* data, uint32_t& size,
                             uint32_t& status) = 0;
    // True for 200 to 299; `tag`, of the same room, is then that of what was put, empty if there is none.
    virtual bool SetDataById(const char16_t* id, char16_t* tag, const char* body, uint32_t& status) = 0;
    // Puts one item into a version of a container; `last` closes it.
    virtual bool SendDataContainer(const char16_t* container, uint32_t version, const char16_t* name,
                                   const std::string& data, bool last) = 0;
    virtual void SetTrustStore(ITrustStore* store) = 0;
};

// Of an entity tag, with the zero that ends it.
inline constexpr uint32_t entityTagCapacity = 256;

class IProxyUsedObserver {
  public:
    virtual ~IProxyUsedObserver() = default;
    // On a thread of the transport. `proxy` is what a connection really used, null for none, and is the
    // transport's.
    virtual void OnProxyUsed(IProxySetting* proxy) = 0;
};

class IWirelink {
  public:
    virtual ~IWirelink() = default;
    virtual IProxyList* CreateProxyList() = 0;
    virtual void FreeProxyList(IProxyList* list) = 0;
    virtual IProxySetting* NewProxySetting() = 0;
    virtual IProxySetting* CreateProxySetting(int32_t mode, const char16_t* proxyList,
                                              const char16_t* username, const char16_t* password,
                                              const char16_t* furtherText, const char16_t* wpadUrl,
                                              bool wpadAutoDetect, bool fallback) = 0;
    virtual void ReleaseProxySetting(IProxySetting* entry) = 0;
    virtual IConnection* CreateConnection(const char16_t* userAgent, const char16_t* url,
                                          const char16_t* verb, uint32_t flags) = 0;  // null: no connection
    virtual void DestroyConnection(IConnection* connection) = 0;
    virtual IServiceClient* CreateServiceClient(const char16_t* userAgent, const char16_t* host,
                                                const char16_t* service, int32_t product,
                                                const char16_t* productVersion, const char16_t* deviceId,
                                                const AuthorizationInfo* authorization,
                                                const char16_t* pathPrefix, const char16_t* siteId) = 0;
    virtual void CloseServiceClient(IServiceClient** client) = 0;
    virtual void InitResponse(TransportResponse* response) = 0;
    virtual void FreeResponse(TransportResponse* response) = 0;
    // Null removes; no call to the earlier observer comes after the return, unless made from that call.
    virtual void SetProxyObserver(IProxyUsedObserver* observer) = 0;
    virtual ITrustStore* CreateTrustStore() = 0;
    virtual void DestroyTrustStore(ITrustStore* store) = 0;
};

// Exported as "GetIWirelink" and "FreeIWirelink": every call gives the process's one object, which goes with
// the last FreeIWirelink. The latter clears the caller's pointer.
using GetIWirelinkFunction = IWirelink* (*)();
using FreeIWirelinkFunction = void (*)(IWirelink**);

}  // namespace orrery
