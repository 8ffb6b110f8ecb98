// The HTTP transport, Wirelink.dll: proxy lists, connections, service clients, trust stores.
//
// What an operation is handed it uses only during the call: it copies what it needs. Objects are used by one
// thread at a time; the transport object itself is safe from any thread. Texts are zero-terminated, null is
// taken for the empty one, and those handed out are the object's. An object goes back to the operation that
// ends its kind, which takes null too, before the transport itself is given back. Only sending, downloading
// and the service clients' operations wait for the network, and their deadlines are the transport's.
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

// One entry of a proxy list. Any text can be null or empty, and is the entry's until that is filled anew or
// goes.
class IProxySetting {
  public:
    virtual ~IProxySetting() = default;
    // A ProxyMode, or what the entry was made with where that is none.
    virtual int32_t Mode() const = 0;
    // The proxies of an explicit entry, separated by semicolons.
    virtual const char16_t* ProxyList() const = 0;
    // What the proxy is told of the user; empty: nothing.
    virtual const char16_t* Username() const = 0;
    // In the clear.
    virtual const char16_t* Password() const = 0;
    // Where the PAC file of a WPAD entry is; empty if it is to be discovered.
    virtual const char16_t* WPADUrl() const = 0;
    // Kept and copied, used by nobody.
    virtual const char16_t* FurtherText() const = 0;
    // The PAC file is to be discovered.
    virtual bool WPADAutoDetect() const = 0;
    // To be tried only behind the entries that aren't.
    virtual bool Fallback() const = 0;
    // The same proxy; `Fallback` is not compared. Null is never the same.
    virtual bool Equal(const IProxySetting* entry) const = 0;
};

class IProxyList {
  public:
    virtual ~IProxyList() = default;
    // The Add operations append; true if they did. They only note what is asked for: nothing is looked up
    // yet.
    virtual bool AddDirect(bool fallback) = 0;
    // `proxyList`: one or more proxies, separated by semicolons.
    virtual bool AddExplicit(const char16_t* proxyList, const char16_t* username, const char16_t* password,
                             const char16_t* furtherText, bool fallback) = 0;
    // The first two texts are reserved; null.
    virtual bool AddPacUrl(const char16_t* pacUrl, const char16_t* text1, const char16_t* text2,
                           const char16_t* username, const char16_t* password, bool fallback) = 0;
    // `kind`: SystemProxyKind. What the system has at this time is read here; it may be no proxy at all.
    virtual bool AddSystem(int32_t kind, bool fallback) = 0;
    // True if the list can be read, from its first entry on; then EndEnumeration is owed. One reader at a
    // time.
    virtual bool BeginEnumeration() = 0;
    // In the order of adding. Null at the end; stays the list's.
    virtual IProxySetting* NextEntry() = 0;
    // Gives the reading up, wherever it stands.
    virtual void EndEnumeration() = 0;
    // The list owns `entry` if it gives true, otherwise it stays the caller's.
    virtual bool AddEntry(IProxySetting* entry) = 0;
};

// Which servers are trusted, domain by domain. Enabled and empty once it is made.
class ITrustStore {
  public:
    virtual ~ITrustStore() = default;
    // False: the lists count for nothing; what the system itself trusts is asked all the same.
    virtual void SetEnabled(bool enabled) = 0;
    // Adds to what is known of the domain. From then on only servers that one of its texts names
    // are taken for it, none if it has no text; one that can't be read names nobody.
    virtual void AddTrustedCertificates(const char16_t* domain, uint32_t count,
                                        const char16_t* const* certificates) = 0;
};

// One request: set up, then sent once, then asked for the answer. Results are 0 or an error code
// (platform/error_codes.h); an HTTP status of failure is an answer, not a failure. None is
// thrown.
class IConnection {
  public:
    virtual ~IConnection() = default;
    // Sends the request with this body and waits for the whole answer. `reserved` is passed through; 0. Null
    // credentials leave it unsigned. It is never sent twice to a server that may have had it.
    virtual uint32_t SendSigned(const char16_t* contentType, const void* data, uint32_t size,
                                uint32_t reserved, const AuthorizationInfo* authorization) = 0;
    // Fetches the URL into the file, unsigned; the file takes the place of an earlier one when it is whole,
    // and otherwise nothing is left behind. 0 or 1246 (not modified): the reply can be received. `status` is
    // the HTTP status, 0 without a whole answer.
    virtual uint32_t Download(const WideString& path, uint32_t& status) = 0;
    // Fills an initialised record with the answer of the last send, or fails if there is none. It doesn't
    // wait. The body comes in plain form, even if the server compressed it. What the record held is freed.
    virtual uint32_t Receive(TransportResponse* response) = 0;
    // In the place of an earlier list. Null, and a list without an entry: a direct connection. Reads the list
    // here, so that it may go.
    virtual void SetProxyList(IProxyList* proxyList) = 0;
    // One more header of the request. One that would break the request's lines is left out.
    virtual void AddHeader(const char16_t* name, const char16_t* value) = 0;
    // The headers as sent, in lines ended by CR LF, without the request line. False if nothing was sent;
    // `headers` is then as it was.
    virtual bool GetSentHeaders(WideString& headers) = 0;
    // Fills `entry`, one made by NewProxySetting, with what was really used. False if nothing was.
    virtual bool GetProxyUsed(IProxySetting* entry) = 0;
    // In the place of an earlier store, which is read here; null: only what the system trusts counts.
    virtual void SetTrustStore(ITrustStore* store) = 0;
};

// A client of one service of the server. Each operation is one request, which it waits for; false: no answer,
// or one that says no. No failure is thrown, and nothing is tried again. It may be kept as long as it is
// wanted.
class IServiceClient {
  public:
    virtual ~IServiceClient() = default;
    // As of a connection, for the requests from here on.
    virtual void SetProxyList(IProxyList* proxyList) = 0;
    // Puts the local file (a wide path) into the container under that name. False also if it can't be read.
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
    // Puts one item into a version of a container; `last` closes it. `data` may hold any bytes.
    virtual bool SendDataContainer(const char16_t* container, uint32_t version, const char16_t* name,
                                   const std::string& data, bool last) = 0;
    // As of a connection, for the requests from here on.
    virtual void SetTrustStore(ITrustStore* store) = 0;
};

// Of an entity tag, with the zero that ends it.
inline constexpr uint32_t entityTagCapacity = 256;

class IProxyUsedObserver {
  public:
    virtual ~IProxyUsedObserver() = default;
    // On a thread of the transport, after an answer came, one call at a time. `proxy` is what a connection
    // really used, null for a direct one, and is the transport's until the return. It must not throw.
    virtual void OnProxyUsed(IProxySetting* proxy) = 0;
};

class IWirelink {
  public:
    virtual ~IWirelink() = default;
    // Empty; owed to FreeProxyList.
    virtual IProxyList* CreateProxyList() = 0;
    // With all its entries.
    virtual void FreeProxyList(IProxyList* list) = 0;
    // An empty entry, to be filled; owed to ReleaseProxySetting, as is the next, or to a list that takes it.
    virtual IProxySetting* NewProxySetting() = 0;
    // `mode`: ProxyMode. Nothing is checked.
    virtual IProxySetting* CreateProxySetting(int32_t mode, const char16_t* proxyList,
                                              const char16_t* username, const char16_t* password,
                                              const char16_t* furtherText, const char16_t* wpadUrl,
                                              bool wpadAutoDetect, bool fallback) = 0;
    // Not for an entry that a list owns.
    virtual void ReleaseProxySetting(IProxySetting* entry) = 0;
    // A request to be set up; nothing is sent yet. Null for a URL or a verb that is none; else owed to
    // DestroyConnection. `flags`: ConnectionFlag.
    virtual IConnection* CreateConnection(const char16_t* userAgent, const char16_t* url,
                                          const char16_t* verb, uint32_t flags) = 0;
    // With its answer, but not the records that were received.
    virtual void DestroyConnection(IConnection* connection) = 0;
    // Null if host, path and service give no URL; else owed to CloseServiceClient. Nothing is sent yet. Null
    // credentials leave requests unsigned.
    virtual IServiceClient* CreateServiceClient(const char16_t* userAgent, const char16_t* host,
                                                const char16_t* service, int32_t product,
                                                const char16_t* productVersion, const char16_t* deviceId,
                                                const AuthorizationInfo* authorization,
                                                const char16_t* pathPrefix, const char16_t* siteId) = 0;
    // Clears the caller's pointer.
    virtual void CloseServiceClient(IServiceClient** client) = 0;
    // Marks a record that the caller has zeroed as one that can be filled.
    virtual void InitResponse(TransportResponse* response) = 0;
    // Frees what Receive put there and empties the record, which stays the caller's and initialised.
    virtual void FreeResponse(TransportResponse* response) = 0;
    // One for the process, which stays its owner's. Null removes; no call to the earlier observer comes after
    // the return: it waits for one in flight, unless it is made from that call.
    virtual void SetProxyObserver(IProxyUsedObserver* observer) = 0;
    // Owed to DestroyTrustStore.
    virtual ITrustStore* CreateTrustStore() = 0;
    // What was set up with the store keeps what it read.
    virtual void DestroyTrustStore(ITrustStore* store) = 0;
};

// Exported as "GetIWirelink" and "FreeIWirelink": every call gives the process's one object, or null, and it
// goes with the last FreeIWirelink, which clears the caller's pointer.
using GetIWirelinkFunction = IWirelink* (*)();
using FreeIWirelinkFunction = void (*)(IWirelink**);

}  // namespace orrery
