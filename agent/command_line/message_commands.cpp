#include "agent/command_line/message_commands.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "agent/messages/message_files.h"
#include "agent/text/complaint.h"
#include "agent/text/printable.h"
#include "agent/text/redaction.h"
#include "agent/text/utc_text.h"

namespace orrery::agent {

namespace {

const MessageFile* FindMessage(const std::vector<MessageFile>& files, const std::string& which) {
    size_t number = 0;
    const auto [end, error] = std::from_chars(which.data(), which.data() + which.size(), number);
    if (error == std::errc() && end == which.data() + which.size())
        return number > 0 && number <= files.size() ? &files[files.size() - number] : nullptr;
    const auto found = std::ranges::find(files, which, &MessageFile::name);
    return found == files.end() ? nullptr : &*found;
}

}  // namespace

int ListMessages(const std::string& folder, bool json) {
    const std::vector<MessageFile> files = ListMessageFiles(folder);
    auto list = nlohmann::ordered_json::array();
    for (size_t i = 0; i < files.size(); ++i) {
        const std::string name = Printable(files[i].name);
        const std::string time = UtcText(files[i].time);
        const size_t number = files.size() - i;
        if (json)
            list.push_back({{"number", number}, {"time", time}, {"size", files[i].size}, {"name", name}});
        if (!json)
            std::printf("%5zu  %s  %8ju  %s\n", number, time.c_str(), uintmax_t{files[i].size}, name.c_str());
    }
    if (json) std::printf("%s\n", list.dump(2).c_str());
    if (files.empty() && !json)
        std::printf("no messages (the agent keeps them while Register.Agent.TestMode is 1)\n");
    return 0;
}

// Only what is in the list can be shown, so that no name leads out of the folder.
int ShowMessage(const std::string& folder, const std::string& which) {
    const std::vector<MessageFile> files = ListMessageFiles(folder);
    const MessageFile* file = FindMessage(files, which);
    if (!file) return Complain("there is no message \"" + Printable(which) + "\"");
    std::ifstream input(folder + "/" + file->name, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(input), {});
    if (!input.is_open()) return Complain("can't read " + Printable(file->name));
    std::fputs(MessageView(bytes).c_str(), stdout);
    return 0;
}

// A record that the code page can't hold is in 16-bit characters: without their zeros it is readable, and
// what is to be hidden is found.
std::string MessageView(std::string bytes) {
    std::erase(bytes, '\0');
    const std::string text = HideSecrets(std::move(bytes));
    std::string view;
    for (std::string_view rest = text; !rest.empty();) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        std::string_view line = rest.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        view.append(Printable(line)).append("\n");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return view;
}

}  // namespace orrery::agent
