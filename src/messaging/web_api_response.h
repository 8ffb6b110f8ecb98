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

// Filled by the thread that sends, which reads it afterwards. What is handed out by pointer stays this
// object's, until the next SetResult.
class IRequestResponse {
  public:
    virtual ~IRequestResponse() = default;
    // The reply, without its headers, in place of an earlier one. Copies what it is given; `content` may be
    // null. It can't fail, and may raise events before it returns.
    virtual void SetResult(const CalendarTime& date, uint32_t status, const void* content, uint32_t size) = 0;
    // A header that is there keeps its value.
    virtual void AddHeader(const WideString& name, const WideString& value) = 0;
    // Replace all headers. Of a text that can't be read the part that could stays, with false.
    virtual bool SetHeaderText(WideView text) = 0;
    virtual void SetHeaders(const HeaderMap& map) = 0;
    // HTTP; 0 until a reply came.
    virtual uint32_t GetStatus() const = 0;
    // In place of what `out` holds.
    virtual void GetHeaders(HeaderMap& out) const = 0;
    // UTC, all zero if the reply had none. Never null.
    virtual const CalendarTime* GetDate() const = 0;
    // As received, in plain form, without a zero at its end. Null if there is none.
    virtual const uint8_t* GetContent() const = 0;
    // In bytes; 0 without content.
    virtual uint32_t GetContentSize() const = 0;
    // Empty unless an error reply had one. Never null.
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
    void ForwardActions() const;

    uint32_t status = 0;
    CalendarTime date;
    uint32_t contentSize = 0;
    std::unique_ptr<uint8_t[]> content;
    HeaderMap headers;
    CResponseEnvelope envelope;
    IDispatcherHelper* const dispatcherHelper;  // outlives the response
};

// What a status of the Web API means: 0 for success, 1246 where nothing has changed, else an error code.
// Pure.
uint32_t StatusToError(uint32_t status);

}  // namespace orrery
