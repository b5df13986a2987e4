// telvane-host: the stand-in SCADA host of a prefix ($VOLTARIS_PREFIX).
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Commands.h"
#include "HostInstall.h"
#include "HostRun.h"
#include "support/ProgramInfo.h"

namespace {

const char* const Usage =
    "usage: telvane-host COMMAND ...\n"
    "  run --generation 4|5 [--scenario FILE]\n"
    "                       install the host into the prefix, open its windows, run its job and\n"
    "                       simulate the scenario's meters and read its Modbus and MQTT devices\n"
    "                       until stopped\n"
    "  stop                 end the running host's job and close its windows\n"
    "  status               generation, folders, run state and open windows, one 'name: value' a line\n"
    "  set POINT=VALUE ...  set host points; POINT is [T12], T12, [R1P2L3], [P3L4] or L124\n"
    "  get POINT ...        print the points' values, one a line\n"
    "  dde-set APPLICATION|TOPIC ITEM TEXT\n"
    "                       set an item the running host serves over DDE (automatic links get it)\n"
    "  clock                print the prefix's date-time\n"
    "  clock START [SPEED]  run the prefix on a simulated clock from START (YYYY-MM-DDTHH:MM:SS)\n"
    "  clock real           return the prefix to the system clock\n"
    "  --help, --version    this text; the version and build\n"
    "The prefix is $VOLTARIS_PREFIX (default ~/.voltaris): the host goes into its drive C:\n"
    "(<prefix>/drives/c/Telvane5 or Telvane4 unless the scenario says otherwise) and keeps its\n"
    "record in <prefix>/run/telvane-host.ini.\n";

// The usage and the folder the host libraries are installed from, which depends on where this
// program runs from.
std::string FullUsage() {
    return std::string(Usage) + "The host libraries are installed from " + HostLibrarySourceFolder() + ".\n";
}

int UsageError(const std::string& text) {
    return RefuseCommandLine("telvane-host", text.empty() ? "give a command" : text, FullUsage());
}

// The long options each command takes; those with a value skip it.
bool KnownOption(const std::string& command, const std::string& option) {
    return command == "run" && (option == "--generation" || option == "--scenario");
}

int Run(int argc, char** argv, const std::vector<std::string>& args) {
    int generation = 0;
    std::string scenario;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        bool hasValue = i + 1 < args.size();
        if (a == "--generation" && hasValue) {
            const std::string& g = args[++i];
            if (g != "4" && g != "5") return UsageError("the generation is 4 or 5, not " + g);
            generation = g[0] - '0';
        } else if (a == "--scenario" && hasValue) {
            scenario = args[++i];
        } else {
            return UsageError("run: unexpected argument " + a);
        }
    }
    if (generation == 0 && scenario.empty()) return UsageError("run: give --generation 4 or 5");
    return RunHost(argc, argv, generation, scenario);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> all(argv + 1, argv + argc);
    // --help and --version anywhere answer at once; other options must belong to the command.
    // "--" ends the options (a DDE text may start with "--").
    std::string command;
    std::vector<std::string> args;
    bool optionsEnd = false;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::string& a = all[i];
        if (optionsEnd || (!IsLongOption(a) && a != "--")) {
            (command.empty() ? command : args.emplace_back()) = a;
        } else if (a == "--") {
            optionsEnd = true;
        } else if (a == "--help") {
            return PrintUsage(FullUsage());
        } else if (a == "--version") {
            return PrintVersion("telvane-host");
        } else if (KnownOption(command, a)) {
            args.push_back(a);
            if (i + 1 < all.size()) args.push_back(all[++i]);
        } else {
            return UsageError("unknown option '" + a + "'");
        }
    }
    if (command.empty()) return UsageError("");
    if (command == "-h" || command == "help") return PrintUsage(FullUsage());
    if (command == "run") return Run(argc, argv, args);
    if (command == "stop") return args.empty() ? StopHost() : UsageError("stop takes no arguments");
    if (command == "status") return args.empty() ? PrintStatus() : UsageError("status takes no arguments");
    if (command == "set") return args.empty() ? UsageError("set: give POINT=VALUE") : SetPoints(args);
    if (command == "get") return args.empty() ? UsageError("get: give a POINT") : GetPoints(args);
    if (command == "clock") return ClockCommand(args);
    if (command == "dde-set") {
        return args.size() == 3 ? DdeSet(args[0], args[1], args[2]) : UsageError("dde-set: give APPLICATION|TOPIC ITEM TEXT");
    }
    return UsageError("unknown command '" + command + "'");
}
