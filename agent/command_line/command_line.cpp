#include "agent/command_line/command_line.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>

#include "agent/command_line/control_commands.h"
#include "agent/command_line/message_commands.h"
#include "agent/command_line/seal_commands.h"
#include "agent/command_line/settings_commands.h"
#include "agent/install/install_plan.h"
#include "agent/install/installer.h"
#include "agent/messages/message_files.h"
#include "agent/run/agent.h"
#include "agent/text/complaint.h"

namespace orrery::agent {

namespace {

struct Options {
    std::string home;
    bool json = false;
    InstallOptions install;
    std::string key;  // or a prefix of keys
    std::string value;
    std::string file;
    std::string event;
    std::string message;  // a name or a number
    bool store = false;
    bool open = false;
};

using Action = std::function<int(const AgentHome&)>;

int Install(const AgentHome& home, const InstallOptions& options) {
    InstallPlan plan;
    std::string problem;
    if (!PlanInstall(options, plan, problem) || !LayOutHome(home, LibrarySource(), problem))
        return Complain(problem);
    const auto store = SettingsStore::Open(home, problem);
    if (!store || !ApplyPlan(plan, store->Util(), problem)) return Complain(problem);
    std::printf("installed in %s, device %s\n", home.Folder().c_str(),
                ToUtf8(ReadSetting(store->Util(), u"Register.Register.DeviceId")).c_str());
    return 0;
}

int Run(const AgentHome& home, bool json) {
    std::string problem;
    if (!home.IsInstalled()) {
        return Complain("there is no agent in " + home.Folder() + " (orrery-agent install makes one)");
    }
    return Agent(home, STDOUT_FILENO, json).Run();
}

int WithStore(const AgentHome& home, const std::function<int(SettingsStore&)>& work) {
    std::string problem;
    const auto store = SettingsStore::Open(home, problem);
    if (!store) return Complain(problem);
    const std::string trouble = store->Listing().Problem();
    if (!trouble.empty()) Complain(trouble);
    return work(*store);
}

int Messages(const AgentHome& home, const Options& options) {
    if (!home.IsInstalled()) return Complain("there is no agent in " + home.Folder());
    return options.message.empty() ? ListMessages(MessagesFolder(), options.json)
                                   : ShowMessage(MessagesFolder(), options.message);
}

int Seal(const AgentHome& home, const Options& options) {
    const std::string& file = options.file;
    if (file.empty() && !options.open) return Complain("seal needs a file, or - for standard input");
    if (options.open && !file.empty()) return PrintOpened(file);
    if (!options.open && !options.store) return PrintSealed(file);
    return WithStore(home, [&](SettingsStore& store) {
        return options.open ? PrintStoredList(store.Util()) : StoreSealed(store.Util(), file);
    });
}

CLI::App* AddCommand(CLI::App& parent, const char* name, const char* help, Action& chosen, Action action) {
    CLI::App* command = parent.add_subcommand(name, help);
    command->fallthrough();
    command->callback([&chosen, action = std::move(action)] { chosen = action; });
    return command;
}

void AddInstall(CLI::App& program, Options& options, Action& chosen) {
    CLI::App* install =
        AddCommand(program, "install", "Lay out a home, or change one", chosen,
                   [&options](const AgentHome& home) { return Install(home, options.install); });
    install->add_option("--server", options.install.server, "http, https, ws or wss URL of the server");
    install->add_option("--device", options.install.device, "Device id");
    install->add_option("--site", options.install.site, "Site id");
    install->add_option("--secret", options.install.secret, "What calls to the server are signed with");
    install->add_option("--poll", options.install.poll, "Seconds between two polls, 0 for none");
}

void AddSeal(CLI::App& program, Options& options, Action& chosen) {
    CLI::App* seal = AddCommand(program, "seal", "Encipher a list of proxies", chosen,
                                [&options](const AgentHome& home) { return Seal(home, options); });
    seal->add_option("file", options.file, "The list as JSON; - for standard input");
    CLI::Option* store =
        seal->add_flag("--store", options.store, "Set it as the agent's, instead of printing it");
    seal->add_flag("--open", options.open,
                   "Print the plain list that is stored, or in the file; it may hold passwords")
        ->excludes(store);
}

void AddRunning(CLI::App& program, Options& options, Action& chosen) {
    AddCommand(program, "run", "Run the agent until SIGINT or SIGTERM", chosen,
               [&options](const AgentHome& home) { return Run(home, options.json); })
        ->add_flag("--json", options.json, "One JSON object a line");
    AddCommand(program, "event", "Have the running agent deliver an event", chosen,
               [&options](const AgentHome& home) { return SendEvent(home, options.event); })
        ->add_option("json", options.event, "The event, {\"Name\":{...}}")
        ->required();
    AddCommand(program, "status", "What is known of the agent", chosen, [&options](const AgentHome& home) {
        return WithStore(
            home, [&](SettingsStore& store) { return ShowStatus(home, store.Listing(), options.json); });
    })->add_flag("--json", options.json, "As a JSON object");
    CLI::App* messages = AddCommand(program, "messages", "What was said to the server in test mode", chosen,
                                    [&options](const AgentHome& home) { return Messages(home, options); });
    messages->add_option("name", options.message, "One of the list, or its number");
    messages->add_flag("--json", options.json, "The list as a JSON array");
}

void AddSettings(CLI::App& program, Options& options, Action& chosen) {
    CLI::App* settings = program.add_subcommand("settings", "Read and change settings");
    settings->require_subcommand(1)->fallthrough();
    const auto add = [&](const char* name, const char* help, std::function<int(SettingsStore&)> work) {
        return AddCommand(*settings, name, help, chosen,
                          [work = std::move(work)](const AgentHome& home) { return WithStore(home, work); });
    };
    CLI::App* list =
        add("list", "Every setting, or those whose keys begin alike", [&options](SettingsStore& store) {
            return ListSettings(store.Listing(), options.key, options.json);
        });
    list->add_option("prefix", options.key, "Beginning of the keys");
    list->add_flag("--json", options.json, "As a JSON object");

    const char* keyHelp = "section.group.name";
    add("get", "Print a value",
        [&options](SettingsStore& store) { return GetSetting(store.Util(), options.key); })
        ->add_option("key", options.key, keyHelp)
        ->required();
    add("unset", "Remove a setting",
        [&options](SettingsStore& store) { return UnsetSetting(store.Util(), options.key); })
        ->add_option("key", options.key, keyHelp)
        ->required();
    CLI::App* set = add("set", "Write a value", [&options](SettingsStore& store) {
        return SetSetting(store.Util(), options.key, options.value);
    });
    set->add_option("key", options.key, keyHelp)->required();
    set->add_option("value,--value", options.value, "Any text")->required();
    add("import", "Write all settings of a file",
        [&options](SettingsStore& store) { return ImportSettings(store.Util(), options.file); })
        ->add_option("file", options.file, "KEY=VALUE lines, or a JSON object")
        ->required();
}

// A value may begin with a dash, which would make it an option: it is handed on in the form that says what it
// is.
std::vector<std::string> Arguments(int count, char** arguments) {
    std::vector<std::string> list(arguments + 1, arguments + count);
    const auto set = std::adjacent_find(list.begin(), list.end(), [](const auto& first, const auto& second) {
        return first == "settings" && second == "set";
    });
    if (list.end() - set > 3) {
        std::string& value = *(set + 3);
        if (value.size() > 1 && value.front() == '-' && value != "--") value = "--value=" + value;
    }
    std::ranges::reverse(list);  // as the parser takes them
    return list;
}

// The parser complains of a missing command first, when a wrong one was given.
int ParseFailure(const CLI::App& program, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return program.exit(error);
    const std::vector<std::string> unknown = program.remaining(true);
    Complain(unknown.empty() ? error.what() : "unknown command or option: " + unknown.front());
    std::fprintf(stderr, "Run with --help for more information.\n");
    return 1;
}

}  // namespace

int RunCommandLine(int count, char** arguments) {
    Options options;
    Action chosen;
    CLI::App program("The host of the endpoint agent", "orrery-agent");
    program.add_option("--home", options.home,
                       "Folder of the agent; ORRERY_HOME, else /var/lib/orrery-agent");
    program.require_subcommand(1);
    AddInstall(program, options, chosen);
    AddRunning(program, options, chosen);
    AddSeal(program, options, chosen);
    AddSettings(program, options, chosen);
    try {
        program.parse(Arguments(count, arguments));
    } catch (const CLI::ParseError& error) {
        return ParseFailure(program, error);
    }
    const AgentHome home(options.home);
    home.Enter();
    return chosen(home);
}

}  // namespace orrery::agent
