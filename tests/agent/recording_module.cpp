#include "recording_module.h"

#include <stdexcept>

#include "contracts/plugin.h"
#include "foundation/message_object.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace orrery::test {

namespace {

Recorder recorder;

uint32_t Perform(const WideString& name) {
    if (name == u"Throw") throw std::runtime_error("broken");
    if (name == u"Block") {
        std::unique_lock lock(recorder.mutex);
        recorder.changed.wait(lock, [] { return !recorder.blocked; });
    }
    return name == u"Fail" ? 5 : name == u"Unlisted" ? 87 : 0;
}

class Plugin final : public IPluginInterface {
  public:
    uint32_t AddRef() override { return ++count; }
    uint32_t Release() override {
        const uint32_t left = --count;
        recorder.Add("Release");
        if (left == 0) delete this;
        return left;
    }
    uint32_t Start() override { return recorder.Add("Start"), 0; }
    void Stop() override { recorder.Add("Stop"); }
    const char16_t* GetEventHandlerString() override { return u"Block;Fail;Plain;;Throw"; }
    uint32_t ExecuteEvent(const CMessageObject& event) override {
        WideString name;
        std::string text;
        event.GetMessageName(name);
        event.SerializeUtf8(text);
        recorder.Add(text);
        return Perform(name);
    }

  private:
    uint32_t count = 1;
};

class Container final : public IPluginV1 {
  public:
    const char16_t* GetPluginGuid() override { return u"guid"; }
    uint32_t QueryInterface(const WideString& guid, IPluginInterface** out) override {
        if (guid != u"guid") return 1168;
        *out = new Plugin;
        return 0;
    }
} container;

}  // namespace

EXPORT IPluginV1* GetIPlugin() {
    return &container;
}
EXPORT void FreeIPlugin(IPluginV1*) {
    recorder.Add("Free");
}
EXPORT Recorder* GetRecorder() {
    return &recorder;
}

}  // namespace orrery::test
