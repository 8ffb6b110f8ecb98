#include "platform/auto_proxy.h"

#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

#include "platform/linux/auto_proxy/helper_path.h"
#include "platform/linux/auto_proxy/helper_process.h"
#include "platform/linux/auto_proxy/pac_answer.h"
#include "platform/linux/auto_proxy/pac_exit.h"
#include "platform/text.h"

namespace orrery::platform {
namespace {

thread_local uint32_t lastError = 0;

bool Fail(uint32_t error) {
    lastError = error;
    return false;
}

bool Succeed() {
    lastError = 0;
    return true;
}

uint32_t ErrorOf(const HelperResult& result) {
    // A script that runs into its limits is ended by a signal.
    if (result.error == EINTR) return AutoProxyBadScript;
    if (result.error != 0) return static_cast<uint32_t>(result.error);
    switch (result.exitCode) {
        case PacDone:
            return 0;
        case PacBadUrl:
            return AutoProxyInvalidUrl;
        case PacNotFetched:
            return AutoProxyNoScript;
        case PacBadScript:
            return AutoProxyBadScript;
        case PacNotDetected:
            return AutoProxyNotDetected;
        default:
            return AutoProxyHelperFailed;
    }
}

bool AskHelper(const std::vector<std::string>& command, std::chrono::milliseconds atMost,
               std::string& answer) {
    HelperResult result = RunHelper(command, atMost);
    if (const uint32_t error = ErrorOf(result); error != 0) return Fail(error);
    answer = std::move(result.output);
    if (answer.ends_with('\n')) answer.pop_back();
    return Succeed();
}

class HelperSession : public AutoProxySession {
  public:
    HelperSession(std::string helper, std::chrono::milliseconds atMost)
        : helper(std::move(helper)), atMost(atMost) {}

    bool GetProxyForUrl(const WideString& url, const WideString& pacUrl, WideString& proxy) override {
        std::string answer;
        std::string found;
        if (!AskHelper({helper, ToUtf8(url), ToUtf8(pacUrl)}, atMost, answer)) return false;
        if (!ReadPacAnswer(answer, found)) return Fail(AutoProxyBadScript);
        proxy = ToWide(found);
        return true;
    }

  private:
    const std::string helper;
    const std::chrono::milliseconds atMost;
};

}  // namespace

bool DetectAutoProxyConfigUrl(uint32_t flags, WideString& pacUrl, std::chrono::milliseconds atMost) {
    if ((flags & DetectByDns) == 0) return Fail(AutoProxyNotDetected);
    const std::string helper = FindPacHelper();
    if (helper.empty()) return Fail(ENOENT);
    std::string found;
    if (!AskHelper({helper, "--discover"}, atMost, found)) return false;
    pacUrl = ToWide(found);
    return true;
}

std::unique_ptr<AutoProxySession> OpenAutoProxySession(std::chrono::milliseconds atMost) {
    std::string helper = FindPacHelper();
    if (helper.empty()) {
        lastError = ENOENT;
        return nullptr;
    }
    lastError = 0;
    return std::make_unique<HelperSession>(std::move(helper), atMost);
}

uint32_t LastAutoProxyError() {
    return lastError;
}

}  // namespace orrery::platform
