#include "agent/command_line/seal_commands.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include "agent/settings/sealed_list.h"
#include "agent/settings/settings_store.h"
#include "agent/text/complaint.h"
#include "platform/error_codes.h"
#include "platform/text.h"

namespace orrery::agent {

namespace {

constexpr char16_t listKey[] = u"Proxy.Default.FallbackList";
constexpr std::string_view blanks = " \t\r\n";

bool ReadInput(const std::string& file, std::string& text, std::string& problem) {
    std::ifstream opened;
    if (file != "-") opened.open(file, std::ios::binary);
    std::istream& input = file == "-" ? std::cin : opened;
    if (input) text.assign(std::istreambuf_iterator<char>(input), {});
    if (!input || input.bad()) problem = "can't read " + file;
    // What an editor adds belongs to no list.
    text.erase(text.find_last_not_of(blanks) + 1);
    return problem.empty();
}

int PrintOpenedText(const std::string& stored) {
    std::string list;
    std::string problem;
    if (!OpenList(stored, list, problem)) return Complain(problem);
    std::printf("%s\n", list.c_str());
    return 0;
}

}  // namespace

int PrintSealed(const std::string& file) {
    std::string list;
    std::string sealed;
    std::string problem;
    if (!ReadInput(file, list, problem) || !SealList(list, sealed, problem)) return Complain(problem);
    std::printf("%s\n", sealed.c_str());
    return 0;
}

int StoreSealed(ConfigUtil& store, const std::string& file) {
    std::string list;
    std::string sealed;
    std::string problem;
    if (!ReadInput(file, list, problem) || !SealList(list, sealed, problem)) return Complain(problem);
    const uint32_t result = store.WriteValue(listKey, ToWide(sealed), 0);
    return result == Success ? 0 : Complain("can't write the list (error " + std::to_string(result) + ")");
}

int PrintOpened(const std::string& file) {
    std::string stored;
    std::string problem;
    return ReadInput(file, stored, problem) ? PrintOpenedText(stored) : Complain(problem);
}

int PrintStoredList(ConfigUtil& store) {
    const WideString stored = ReadSetting(store, listKey);
    return stored.empty() ? Complain("no list is stored") : PrintOpenedText(ToUtf8(stored));
}

}  // namespace orrery::agent
