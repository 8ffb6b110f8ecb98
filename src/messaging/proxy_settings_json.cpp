#include "messaging/proxy_settings_json.h"

#include "foundation/json/message_object.h"

namespace orrery {

namespace {

WideString OrEmpty(const char16_t* text) {
    return text ? text : u"";
}

void AddIfSet(CMessageObject& object, const char16_t* key, const WideString& text) {
    if (!text.empty()) object.AddString(key, text);
}

}  // namespace

bool ReadProxyRecord(const WideString& text, ProxyRecord& record) {
    CMessageObject object;
    if (!object.Parse(text)) return false;
    object.GetInt(u"Mode", record.Mode);
    object.GetString(u"ProxyList", record.ProxyList);
    object.GetString(u"Username", record.Username);
    object.GetString(u"Password", record.Password);
    object.GetString(u"WPADUrl", record.WPADUrl);
    object.GetBool(u"WPADAutoDetect", record.WPADAutoDetect);
    object.GetBool(u"Fallback", record.Fallback);
    return true;
}

WideString WriteProxyRecord(const ProxyRecord& record) {
    CMessageObject object;
    object.AddInt32(u"Mode", record.Mode);
    AddIfSet(object, u"ProxyList", record.ProxyList);
    AddIfSet(object, u"Username", record.Username);
    AddIfSet(object, u"Password", record.Password);
    AddIfSet(object, u"WPADUrl", record.WPADUrl);
    object.AddBool(u"WPADAutoDetect", record.WPADAutoDetect);
    object.AddBool(u"Fallback", record.Fallback);
    WideString text;
    object.Serialize(text);
    return text;
}

ProxyRecord RecordOf(const IProxySetting& entry) {
    return {.Mode = entry.Mode(),
            .ProxyList = OrEmpty(entry.ProxyList()),
            .Username = OrEmpty(entry.Username()),
            .Password = OrEmpty(entry.Password()),
            .WPADUrl = OrEmpty(entry.WPADUrl()),
            .WPADAutoDetect = entry.WPADAutoDetect(),
            .Fallback = entry.Fallback()};
}

}  // namespace orrery
