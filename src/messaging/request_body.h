// What a request carries behind its headers. Shared by its maker, who keeps it alive until the request has
// been sent. One thread.
#pragma once

#include <cstdint>
#include <string>

#include "contracts/wide_string.h"

namespace orrery {

class CMessageObject;

// `plain` asks for the readable form, which only the message log wants; otherwise it is what goes on the
// wire. None of these fails.
class IRequestBody {
  public:
    virtual ~IRequestBody() = default;
    // The MIME type of what goes on the wire.
    virtual void GetContentType(WideString& contentType) const = 0;
    // The bytes for the wire are compressed.
    virtual bool IsCompressed() const = 0;
    // In bytes; no zero ends them.
    virtual uint32_t GetSize(bool plain) const = 0;
    // The body's own, valid while it lives and isn't changed. Null or not where the size is 0.
    virtual const char* GetData(bool plain) const = 0;
};

// A message as JSON, never compressed.
class CRequestBody final : public IRequestBody {
  public:
    // Null makes an empty body. A message that can't be written makes one of unknown type.
    explicit CRequestBody(const CMessageObject* message);

    void GetContentType(WideString& type) const override { type = contentType; }
    bool IsCompressed() const override { return false; }
    uint32_t GetSize(bool) const override { return static_cast<uint32_t>(data.size()); }
    const char* GetData(bool) const override { return data.data(); }

  private:
    std::string data;
    WideString contentType = u"application/octet-stream";
};

}  // namespace orrery
