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

class IRequest {
  public:
    virtual ~IRequest() = default;
    virtual const WideString& GetName() const = 0;  // for the log
    virtual void SetUrl(const WideString& path) = 0;
    virtual const WideString& GetUrl() = 0;  // built anew from the settings
    virtual WideString GetVerb() const = 0;
    virtual WideString GetUserAgent() const = 0;
    virtual void SetParameters(const UrlParameters& parameters) = 0;
    virtual IRequestBody* GetBody() const = 0;  // may be null
    virtual void GetHeaders(HeaderMap& out) = 0;
    // Adding never replaces a header that is there. A text that can't be read adds nothing and gives false.
    virtual void AddHeader(const WideString& name, const WideString& value) = 0;
    virtual bool AddHeaderText(WideView text) = 0;
    virtual void AddHeaders(const HeaderMap& map) = 0;
    // Replace all. Of a text that can't be read the part that could stays.
    virtual bool SetHeaderText(WideView text) = 0;
    virtual void SetHeaders(const HeaderMap& map) = 0;
    virtual void SetFlags(uint32_t flags) = 0;  // for the transport
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
    // The first call fixes the request's id and date.
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
