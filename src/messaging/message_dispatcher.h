// The server's services besides the Web API: file upload, queue, data containers, data by id, event hub. The
// settings of a service say all that identifies it, so that a caller gives its name and nothing else. What
// goes over the wire is the transport's work. It has no state beyond its fields; each operation blocks for as
// long as its request.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "contracts/config_util.h"
#include "contracts/wirelink.h"
#include "foundation/libraries/wirelink_use.h"

namespace orrery {

class CServiceSettings;

// Bad or missing settings and failed calls are traced and give false or null. The first three block for one
// request; opening and closing send nothing. Texts are copied.
class IMessageDispatcher {
  public:
    virtual ~IMessageDispatcher() = default;
    // Puts the local file into the service's container under that name. True once the server has it.
    virtual bool UploadFile(const WideString& service, const WideString& path, const WideString& name) = 0;
    // Puts a UTF-8 message into the service's queue. True once the server has it.
    virtual bool EnqueueMessage(const WideString& service, const WideString& label,
                                const std::string& message) = 0;
    // A client for the data of `id`, the caller's until CloseDataService. Used by one thread at a time.
    virtual IServiceClient* OpenDataService(const WideString& service, const WideString& id) = 0;
    // Closes `*client` and clears it; null is left alone.
    virtual void CloseDataService(IServiceClient** client) = 0;
    // The same for an event hub.
    virtual IServiceClient* OpenEventHub(const WideString& service) = 0;
    virtual void CloseEventHub(IServiceClient** client) = 0;
    // Puts one item into a version of a container; `last` closes that version. True once the server has it.
    virtual bool SendDataContainer(const WideString& service, const WideString& name, const std::string& data,
                                   const WideString& container, uint32_t version, bool last) = 0;
};

class CMessageDispatcher final : public IMessageDispatcher {
  public:
    // Throws std::invalid_argument("configUtil") for a null store, std::logic_error("Cannot Initialize
    // Wirelink") without the transport.
    explicit CMessageDispatcher(ConfigUtil* configUtil);

    bool UploadFile(const WideString& service, const WideString& path, const WideString& name) override;
    bool EnqueueMessage(const WideString& service, const WideString& label,
                        const std::string& message) override;
    IServiceClient* OpenDataService(const WideString& service, const WideString& id) override;
    void CloseDataService(IServiceClient** client) override { wirelink->CloseServiceClient(client); }
    IServiceClient* OpenEventHub(const WideString& service) override;
    void CloseEventHub(IServiceClient** client) override { CloseDataService(client); }
    bool SendDataContainer(const WideString& service, const WideString& name, const std::string& data,
                           const WideString& container, uint32_t version, bool last) override;

  private:
    struct OpenClient;

    // For a service of one of these types. Without a client, and traced, where the settings don't do.
    OpenClient Open(const CServiceSettings& settings, std::initializer_list<WideView> types) const;
    OpenClient OpenFor(const CServiceSettings& settings, const WideString& id,
                       std::initializer_list<WideView> types) const;
    IServiceClient* Create(const CServiceSettings& settings, const WideString& id) const;
    void Equip(OpenClient& open) const;

    ConfigUtil* const configUtil;
    const CWirelinkUse transport;
    IWirelink* const wirelink;
};

}  // namespace orrery
