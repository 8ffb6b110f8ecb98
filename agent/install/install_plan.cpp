#include "agent/install/install_plan.h"

#include "agent/schedule/schedule_task.h"
#include "agent/settings/settings_store.h"
#include "platform/error_codes.h"
#include "platform/guid.h"
#include "platform/text.h"

namespace orrery::agent {

const WideString pollTaskKey = u"Scheduler.Tasks.NotificationCheck";

namespace {

constexpr char16_t deviceKey[] = u"Register.Register.DeviceId";
constexpr char16_t siteKey[] = u"Register.Register.SiteId";
constexpr char16_t notificationKey[] = u"Register.Notification.NotificationId";

constexpr size_t mostCharacters = 255;  // that the module reads of an id or a secret
constexpr int64_t mostPollSeconds = 366 * 86'400;
constexpr int64_t defaultPollSeconds = 1800;

// Writes settings and remembers whether all of it went well.
class Writer {
  public:
    explicit Writer(ConfigUtil& util) : store(util) {}

    bool Failed() const { return result != Success; }
    uint32_t Result() const { return result; }
    WideString Get(const WideString& key) const { return ReadSetting(store, key); }
    bool IsSet(const WideString& key) const { return !Get(key).empty(); }

    // A value that is there already isn't written again.
    void Put(const WideString& key, const WideString& value) {
        if (!Failed() && Get(key) != value) result = store.WriteValue(key, value, 0);
    }
    void PutIfUnset(const WideString& key, const WideString& value) {
        if (!IsSet(key)) Put(key, value);
    }
    // What follows from an option changes if the option is given, and else only fills a gap.
    void Follow(bool given, const WideString& key, const WideString& value) {
        if (given) Put(key, value);
        if (!given) PutIfUnset(key, value);
    }
    void PutNewGuidIfUnset(const WideString& key) {
        WideString guid;
        if (IsSet(key) || Failed()) return;
        if (!platform::NewGuid(guid)) result = NotEnoughMemory;
        Put(key, guid);
    }
    void Remove(const WideString& key) {
        if (!Failed() && IsSet(key)) result = store.DeleteValue(key);
    }

  private:
    ConfigUtil& store;
    uint32_t result = Success;
};

bool ReadText(const std::optional<std::string>& text, const char* what, std::optional<WideString>& read,
              std::string& problem) {
    if (!text) return true;
    read = ToWide(*text);
    if (text->find_first_not_of(" \t\r\n") == std::string::npos)
        problem = std::string("the ") + what + " is empty";
    if (read->size() > mostCharacters)
        problem =
            std::string("the ") + what + " has more than " + std::to_string(mostCharacters) + " characters";
    return problem.empty();
}

void PutFirstSettings(Writer& writer) {
    writer.PutIfUnset(u"Realtime.Notifications.Enabled", u"1");
    writer.PutIfUnset(u"Realtime.Client.ValidateCertificates", u"1");
    writer.PutIfUnset(u"Events.Defaults.AllowExecutionsAfter", u"3600");
}

// What is the same for every server and device.
void PutConstants(Writer& writer) {
    constexpr std::pair<const char16_t*, const char16_t*> constants[] = {
        {u"Communications.Defaults.User-Agent", u"Orrery Agent"},
        {u"Communications.Method_Bind.Path", u"/webapi/bind"},
        {u"Communications.Method_Bind.Verb", u"POST"},
        {u"Communications.Authorization.AuthorizationService", u"ZWS"},
        {u"Communications.Authorization.AuthorizationServiceVersion", u"2"},
        {u"Services.Authorization.AuthorizationService", u"ZWS"},
        {u"Services.Authorization.AuthorizationServiceVersion", u"2"},
        {u"Services.Defaults.Product", u"1"},
        {u"Services.Defaults.ProductVersion", u"1.0"},
        {u"Services.Defaults.User-Agent", u"Orrery Agent"},
        {u"Services.Defaults.PathPrefix", u"/services"},
        {u"Services.Service_NotificationCheck.Type", u"GetDataById"},
        {u"Services.Service_NotificationCheck.Service", u"notifications"},
        {u"Services.Service_NotificationCreate.Type", u"SetDataById"},
        {u"Services.Service_NotificationCreate.Service", u"notifications"},
    };
    for (const auto& [key, value] : constants) writer.PutIfUnset(key, value);
}

void PutChannel(const ServerUrl& server, Writer& writer) {
    writer.Put(u"Communications.Method_CommandHub.Scheme", ToWide(server.scheme));
    writer.Put(u"Communications.Method_CommandHub.Hostname", ToWide(server.hostname));
    writer.Put(u"Communications.Method_CommandHub.Path", ToWide(server.path));
}

// The Web API and the services are on the same host and port as the channel.
void PutAddresses(bool given, Writer& writer) {
    const WideString host = writer.Get(u"Communications.Method_CommandHub.Hostname");
    if (host.empty()) return;
    const bool secure = writer.Get(u"Communications.Method_CommandHub.Scheme") == u"wss";
    const WideString scheme = secure ? u"https" : u"http";
    writer.Follow(given, u"Communications.Method_Bind.Scheme", scheme);
    writer.Follow(given, u"Communications.Method_Bind.Hostname", host);
    writer.Follow(given, u"Services.Defaults.Hostname", scheme + u"://" + host);
}

void PutIdentity(const InstallPlan& plan, Writer& writer) {
    const WideString device = writer.Get(deviceKey);
    const WideString site = writer.Get(siteKey);
    const WideString secret = plan.secret.value_or(u"orrery-development");  // the development server's
    for (const WideString section : {u"Communications", u"Services"}) {
        writer.Follow(plan.device.has_value(), section + u".Authorization.AuthorizationId", device);
        writer.Follow(plan.secret.has_value(), section + u".Authorization.Secret", secret);
    }
    writer.Follow(plan.device.has_value(), u"Services.Defaults.DeviceId", device);
    writer.Follow(plan.site.has_value(), u"Services.Defaults.SiteId", site.empty() ? u"default" : site);
}

// The task as the scheduler stores it, first due one interval from now.
WideString PollTask(int64_t seconds) {
    const std::string interval = std::to_string(seconds);
    CMessageObject request;
    ScheduleTask task;
    request.Parse(R"({"ScheduleId":"NotificationCheck","ScheduleInfo":{"StartTime":"%Now()%","Offset":)" +
                  interval + R"(,"Every":)" + interval + R"(},"Actions":{"NotificationCheck":{}}})");
    ReadTaskRequest(request, NowMilliseconds(), task);
    return StoredTaskText(task);
}

// One that polls at that interval already goes on at its own times.
void PutPoll(int64_t seconds, Writer& writer) {
    ScheduleTask stored;
    if (seconds == 0) return writer.Remove(pollTaskKey);
    const bool polls = ReadStoredTask(writer.Get(pollTaskKey), stored) && stored.enabled;
    if (!polls || stored.every != seconds * 1000) writer.Put(pollTaskKey, PollTask(seconds));
}

}  // namespace

bool PlanInstall(const InstallOptions& options, InstallPlan& plan, std::string& problem) {
    if (options.server) {
        ServerUrl url;
        if (!ParseServerUrl(*options.server, url, problem)) return false;
        plan.server = url;
    }
    plan.poll = options.poll;
    if (plan.poll && (*plan.poll < 0 || *plan.poll > mostPollSeconds))
        problem = "the interval of the polls is 0 to " + std::to_string(mostPollSeconds) + " seconds";
    return ReadText(options.device, "device id", plan.device, problem) &&
           ReadText(options.site, "site id", plan.site, problem) &&
           ReadText(options.secret, "secret", plan.secret, problem) && problem.empty();
}

bool ApplyPlan(const InstallPlan& plan, ConfigUtil& store, std::string& problem) {
    Writer writer(store);
    const bool first = !writer.IsSet(deviceKey) && !writer.IsSet(notificationKey);
    const bool knowsPolls = writer.IsSet(u"Services.Service_NotificationCheck.Type");
    if (first) PutFirstSettings(writer);
    if (plan.server) PutChannel(*plan.server, writer);
    if (plan.site) writer.Put(siteKey, *plan.site);
    if (plan.device) writer.Put(deviceKey, *plan.device);
    if (first) writer.PutNewGuidIfUnset(deviceKey);
    if (plan.device || first) writer.PutNewGuidIfUnset(notificationKey);

    PutAddresses(plan.server.has_value(), writer);
    PutIdentity(plan, writer);
    if (plan.poll || !knowsPolls) PutPoll(plan.poll.value_or(defaultPollSeconds), writer);
    PutConstants(writer);  // last: they tell that the home has had its first poll
    if (writer.Failed()) problem = "can't write the settings (error " + std::to_string(writer.Result()) + ")";
    return problem.empty();
}

}  // namespace orrery::agent
