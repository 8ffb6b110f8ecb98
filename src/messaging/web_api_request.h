// One call of the server's Web API: which method, where to, with which verb, headers and body. A method is
// only a name here; its address is in the settings. It sends nothing. One thread.
#pragma once

#include <cstdint>
#include <map>

#include "contracts/config_util.h"
#include "messaging/header_text.h"

namespace orrery {

class IRequestBody;

// Values for the places of a URL.
using UrlParameters = std::map<WideString, WideString>;

// Used by the thread that sends it, for the time of the send. None of these blocks or fails otherwise than by
// its result.
class IRequest {
  public:
    virtual ~IRequest() = default;
    // The label in the message log, and the beginning of a file's name there.
    virtual const WideString& GetName() const = 0;
    // For a method whose address isn't in the settings; may change the name.
    virtual void SetUrl(const WideString& path) = 0;
    // Built anew from the settings; the reference is good until the next call. Empty if it can't be filled.
    virtual const WideString& GetUrl() = 0;
    // Read anew, each; empty if nothing is set.
    virtual WideString GetVerb() const = 0;
    virtual WideString GetUserAgent() const = 0;
    // Replaces all values for the places of the URL.
    virtual void SetParameters(const UrlParameters& parameters) = 0;
    // Not this object's; outlives it. May be null.
    virtual IRequestBody* GetBody() const = 0;
    // All headers as they are to be sent, in place of what `out` holds. The same id and date at each call.
    virtual void GetHeaders(HeaderMap& out) = 0;
    // Adding never replaces a header that is there. A text that can't be read adds nothing and gives false.
    virtual void AddHeader(const WideString& name, const WideString& value) = 0;
    virtual bool AddHeaderText(WideView text) = 0;
    virtual void AddHeaders(const HeaderMap& map) = 0;
    // Replace all. Of a text that can't be read the part that could stays, with false.
    virtual bool SetHeaderText(WideView text) = 0;
    virtual void SetHeaders(const HeaderMap& map) = 0;
    // Bits for the transport, passed on as they are.
    virtual void SetFlags(uint32_t flags) = 0;
    virtual uint32_t GetFlags() const = 0;
};

class WebApiRequest final : public IRequest {
  public:
    // A null `configUtil` is replaced by the process's store. `body` may be null and outlives the request.
    WebApiRequest(ConfigUtil* configUtil, const WideString& extraName, IRequestBody* body, WideString method,
                  UrlParameters parameters, WideString relativePath);

    const WideString& GetName() const override { return name; }
    void SetUrl(const WideString& path) override;
    const WideString& GetUrl() override;
    WideString GetVerb() const override;
    WideString GetUserAgent() const override;
    void SetParameters(const UrlParameters& values) override { parameters = values; }
    IRequestBody* GetBody() const override { return body; }
    // The first call fixes id and date.
    void GetHeaders(HeaderMap& out) override;
    void AddHeader(const WideString& header, const WideString& value) override;
    bool AddHeaderText(WideView text) override;
    void AddHeaders(const HeaderMap& map) override;
    bool SetHeaderText(WideView text) override;
    void SetHeaders(const HeaderMap& map) override { headers = map; }
    void SetFlags(uint32_t bits) override { flags = bits; }
    uint32_t GetFlags() const override { return flags; }

  private:
    WideString ReadMethodSetting(const char16_t* setting) const;
    WideString BuildUrl() const;
    void MakeStandardHeaders();

    ConfigUtil* const configUtil;
    const WideString method;
    IRequestBody* const body;
    const WideString relativePath;
    WideString url;
    WideString name;
    UrlParameters parameters;
    HeaderMap headers;
    uint32_t flags = 0;
    HeaderMap defaultHeaders;
};

}  // namespace orrery
