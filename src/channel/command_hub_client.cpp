#include "channel/command_hub_client.h"

#include <chrono>
#include <limits>
#include <stdexcept>
#include <system_error>

#include "foundation/text/numbers.h"
#include "foundation/trace.h"
#include "platform/clock.h"

namespace orrery {

namespace {

constexpr int64_t defaultKeepAlive = 120;

int64_t ReadKeepAliveInterval(ConfigUtil* config) {
    WideString value;
    if (!config || config->ReadValue(u"Realtime.CommandHub.KeepAliveInterval", value, 0) != 0)
        return defaultKeepAlive;
    const int64_t seconds = LeadingSigned(value).value_or(0);
    const bool fits = seconds > 0 && seconds <= std::numeric_limits<int32_t>::max();
    return fits ? seconds : defaultKeepAlive;
}

}  // namespace

void PushChannelConnectHandler::operator()() const {
    if (client) client->Enter([](CommandHubClient& hub) { hub.OnConnect(); });
}

void PushChannelMessageHandler::operator()(const WideString& text) const {
    if (client) client->Enter([&text](CommandHubClient& hub) { hub.OnMessage(text); });
}

void PushChannelCloseHandler::operator()() const {
    if (client) client->Enter([](CommandHubClient& hub) { hub.OnClose(); });
}

CommandHubClient::CommandHubClient(WideString deviceId, IPushChannel* channel, ConfigUtil* config)
    : config(config),
      id(std::move(deviceId)),
      channel(channel),
      selfCell(std::make_shared<CommandHubCell>(this)) {
    if (id.empty()) throw std::invalid_argument("Id cannot be empty");
    keepAliveInterval = ReadKeepAliveInterval(config);
}

CommandHubClient::~CommandHubClient() {
    selfCell->Clear();
    CommandHubClient::Close();
}

bool CommandHubClient::Connect() {
    const Trace::Scope trace("CommandHubClient::Connect");
    bool connected = false;
    {
        MutexLock hold(connectionLock);
        connected = ConnectLocked();
    }
    CleanUpMissedClose();
    return connected && state != Closed;
}

bool CommandHubClient::ConnectLocked() {
    if (id.empty() || !channel) return false;
    channel->Close();
    missedClose = false;
    channel->SetConnectHandler(PushChannelConnectHandler{selfCell});
    channel->SetMessageHandler(PushChannelMessageHandler{selfCell});
    channel->SetCloseHandler(PushChannelCloseHandler{selfCell});
    if (!channel->Connect()) return false;
    // A channel that stays up without a conversation would look connected, and nobody would try again.
    if (!Register()) return channel->Close(), false;
    if (!StartKeepAliveThread()) return CleanUpLocked(), false;
    return true;
}

// A connection that was lost while Connect held the lock: without this the state would tell of a conversation
// that nobody ends, and no further attempt would be made. Both sides exchange: either this sees the mark of
// an event that found the lock busy, or that event sees the lock free.
void CommandHubClient::CleanUpMissedClose() {
    while (missedClose.exchange(false)) {
        MutexLock hold(connectionLock);
        // The late event of an earlier connection means nothing to the one that stands.
        if (!IsConnected()) CleanUpLocked();
    }
}

bool CommandHubClient::SendAs(State next, CommandHubType type) {
    if (!channel) return false;
    int32_t before = state.exchange(next);
    if (channel->Send(MakeCommandHubMessage(type, id, nullptr))) return true;
    int32_t entered = next;
    state.compare_exchange_strong(entered, before);
    return false;
}

bool CommandHubClient::Register() {
    const Trace::Scope trace("CommandHubClient::Register");
    return SendAs(Registering, RegisterMessage);
}

bool CommandHubClient::Unregister() {
    const Trace::Scope trace("CommandHubClient::Unregister");
    const bool sent = SendAs(Unregistering, UnregisterMessage);
    if (!sent) Trace::Error("unregistering failed");
    return sent;
}

bool CommandHubClient::SendTopics(CommandHubType type, const std::vector<WideString>& topics) {
    if (!channel) return false;
    const CMessageObject parameters = MakeTopics(topics);
    const bool sent = channel->Send(MakeCommandHubMessage(type, id, &parameters));
    if (!sent) Trace::Error("a subscription frame can't be sent", static_cast<int32_t>(type));
    return sent;
}

bool CommandHubClient::Subscribe(const std::vector<WideString>& topics) {
    const Trace::Scope trace("CommandHubClient::Subscribe");
    return SendTopics(SubscribeMessage, topics);
}

bool CommandHubClient::Unsubscribe(const std::vector<WideString>& topics) {
    const Trace::Scope trace("CommandHubClient::Unsubscribe");
    return SendTopics(UnsubscribeMessage, topics);
}

bool CommandHubClient::KeepAlive() {
    const Trace::Scope trace("CommandHubClient::KeepAlive");
    if (!channel) return false;
    const bool sent = channel->Send(keepAliveFrame);
    if (!sent) Trace::Error("a keep-alive can't be sent");
    return sent;
}

void CommandHubClient::Close() {
    const Trace::Scope trace("CommandHubClient::Close");
    MutexLock hold(connectionLock);
    missedClose = false;
    CleanUpLocked();
}

void CommandHubClient::CleanUpLocked() {
    StopKeepAliveThread();
    if (channel) {
        if (channel->GetState() == ChannelConnected) Unregister();
        channel->Close();
    }
    {
        MutexLock hold(sessionLock);
        sessionId.clear();
    }
    state = Closed;
}

bool CommandHubClient::IsConnected() {
    const Trace::Scope trace("CommandHubClient::IsConnected");
    return channel && channel->GetState() == ChannelConnected;
}

void CommandHubClient::OnConnect() {
    const Trace::Scope trace("CommandHubClient::OnConnect");
    connectHandler.Call();
}

void CommandHubClient::OnMessage(const WideString& text) {
    const Trace::Scope trace("CommandHubClient::OnMessage");
    if (text.empty()) {
        Trace::Information("an empty frame was ignored");
        return;
    }
    CommandHubFrame frame;
    if (!frame.Read(text)) {
        Trace::Error("a frame can't be read");
        return;
    }
    switch (frame.Type()) {
        case ServerKeepAlive:
            Trace::Verbose("server keep-alive");
            break;
        case ErrorMessage:
            Trace::Error("the server reports an error", frame.GetParameter(u"Message"));
            break;
        case WelcomeMessage:
            OnWelcome(frame);
            break;
        case UnregisterReply:
            if (state == Unregistering) {
                Trace::Verbose("unregistered");
            } else {
                Trace::Warning("an unregister reply that nobody waits for");
            }
            break;
        case PushMessage:
            OnPush(frame);
            break;
        default:
            Trace::Warning("a frame of an unknown type was ignored", frame.Type());
            break;
    }
}

void CommandHubClient::OnWelcome(const CommandHubFrame& frame) {
    int32_t expected = Registering;
    if (!state.compare_exchange_strong(expected, Registered)) {
        Trace::Warning("a welcome that nobody waits for", expected);
        return;
    }
    MutexLock hold(sessionLock);
    sessionId = frame.GetParameter(u"SessiondId");
    Trace::Information("registered", sessionId);
}

void CommandHubClient::OnPush(const CommandHubFrame& frame) {
    if (!frame.HasParameters()) return;
    messageHandler.Call(frame.GetParameter(u"Topic"), frame.GetParameter(u"Message"));
}

void CommandHubClient::OnClose() {
    const Trace::Scope trace("CommandHubClient::OnClose");
    missedClose.exchange(true);
    if (!connectionLock.try_lock()) {
        closeHandler.Call();
        return;
    }
    MutexLock hold(connectionLock, std::adopt_lock);
    if (missedClose.exchange(false)) CleanUpLocked();
    closeHandler.Call();
}

bool CommandHubClient::StartKeepAliveThread() {
    if (keepAliveThread) return true;
    {
        MutexLock hold(keepAliveLock);
        stopKeepAlive = false;
    }
    try {
        keepAliveThread = std::make_unique<std::thread>([this] { KeepAliveThread(); });
    } catch (const std::system_error& failure) {
        Trace::Error("the keep-alive thread can't be made", failure.what());
    }
    return keepAliveThread != nullptr;
}

void CommandHubClient::StopKeepAliveThread() {
    const Trace::Scope trace("CommandHubClient::StopKeepAliveThread");
    if (!keepAliveThread) return;
    {
        MutexLock hold(keepAliveLock);
        stopKeepAlive = true;
    }
    keepAliveCondition.notify_all();
    keepAliveThread->join();
    keepAliveThread.reset();
}

void CommandHubClient::KeepAliveThread() {
    const Trace::Scope trace("CommandHubClient::KeepAliveThread");
    const std::chrono::seconds interval(keepAliveInterval);
    MutexLock hold(keepAliveLock);
    int64_t due = platform::SteadyDeadline(interval);
    while (!stopKeepAlive) {
        if (platform::WaitUntil(keepAliveCondition, keepAliveLock, due)) continue;
        if (!stopKeepAlive) KeepAlive();
        due = platform::SteadyDeadline(interval);
    }
}

}  // namespace orrery
