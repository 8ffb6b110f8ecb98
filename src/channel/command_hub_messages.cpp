#include "channel/command_hub_messages.h"

namespace orrery {

WideString MakeCommandHubMessage(CommandHubType type, const WideString& deviceId,
                                 const CMessageObject* parameters) {
    CMessageObject root;
    root.AddInt32(u"Type", type);
    root.AddString(u"DeviceId", deviceId);
    CMessageObject content = parameters ? *parameters : CMessageObject();
    content.name = u"Parameters";
    root.AddItem(CMessageItem(std::move(content)), true);
    WideString text;
    root.Serialize(text);
    return text;
}

CMessageObject MakeTopics(const std::vector<WideString>& topics) {
    CMessageObject parameters(u"Parameters");
    CMessageObject* list = parameters.AddArray(u"Topics");
    for (const WideString& topic : topics) list->AddString({}, topic);
    return parameters;
}

bool CommandHubFrame::Read(const WideString& text) {
    parameters = nullptr;
    root.Parse(text);
    if (!root.GetInt(u"Type", type)) return false;
    root.GetObject(u"Parameters", parameters);
    return true;
}

const WideString& CommandHubFrame::GetParameter(WideView name) const {
    static const WideString none;
    const CMessageItem* item = nullptr;
    const bool found = parameters && parameters->Find(name, item) && item->kind == KindString;
    return found ? item->text : none;
}

}  // namespace orrery
