// What came back from the server: status, date, headers, body. An error reply may carry an envelope, and the
// envelope actions; those are raised at once, before the caller has seen the reply. A reply that can't be
// read as an envelope is no error. One thread, the one that sends.
#pragma once

#include <cstdint>
#include <memory>

#include "contracts/calendar_time.h"
#include "foundation/json/message_object.h"
#include "messaging/header_text.h"

namespace orrery {

class IDispatcherHelper;

// The server's word on a failed request.
class CResponseEnvelope final : public CMessageObject {
  public:
    WideString code;
    WideString message;
    int64_t serverTime = 0;  // seconds
    bool hasActions = false;
};

class IRequestResponse {
  public:
    virtual ~IRequestResponse() = default;
    // Copies what it is given; `content` may be null.
    virtual void SetResult(const CalendarTime& date, uint32_t status, const void* content, uint32_t size) = 0;
    virtual void AddHeader(const WideString& name, const WideString& value) = 0;  // replaces none
    virtual bool SetHeaderText(WideView text) = 0;
    virtual void SetHeaders(const HeaderMap& map) = 0;
    virtual uint32_t GetStatus() const = 0;  // HTTP, 0 until a reply came
    virtual void GetHeaders(HeaderMap& out) const = 0;
    virtual const CalendarTime* GetDate() const = 0;  // UTC
    virtual const uint8_t* GetContent() const = 0;    // null if there is none
    virtual uint32_t GetContentSize() const = 0;      // bytes
    virtual const CResponseEnvelope* GetEnvelope() const = 0;
};

class WebApiResponse final : public IRequestResponse {
  public:
    explicit WebApiResponse(IDispatcherHelper* dispatcherHelper) : dispatcherHelper(dispatcherHelper) {}

    void SetResult(const CalendarTime& replyDate, uint32_t replyStatus, const void* replyContent,
                   uint32_t size) override;
    void AddHeader(const WideString& name, const WideString& value) override { headers.emplace(name, value); }
    bool SetHeaderText(WideView text) override;
    void SetHeaders(const HeaderMap& map) override { headers = map; }
    uint32_t GetStatus() const override { return status; }
    void GetHeaders(HeaderMap& out) const override { out = headers; }
    const CalendarTime* GetDate() const override { return &date; }
    const uint8_t* GetContent() const override { return content.get(); }
    uint32_t GetContentSize() const override { return contentSize; }
    const CResponseEnvelope* GetEnvelope() const override { return &envelope; }

  private:
    void KeepContent(const void* bytes, uint32_t size);
    void ClearEnvelope();
    bool ParseEnvelope();
    void ForwardActions();

    uint32_t status = 0;
    CalendarTime date;
    uint32_t contentSize = 0;
    std::unique_ptr<uint8_t[]> content;
    HeaderMap headers;
    CResponseEnvelope envelope;
    IDispatcherHelper* const dispatcherHelper;  // outlives the response
};

// What a reply of the Web API means: 0 for success, 1246 where nothing has changed, else an error code.
uint32_t StatusToError(uint32_t status);

}  // namespace orrery
