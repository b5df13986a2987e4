// telvane-host: the stand-in SCADA host of a prefix ($VOLTARIS_PREFIX).
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Commands.h"
#include "HostRun.h"

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
    "The prefix is $VOLTARIS_PREFIX (default ~/.voltaris).\n";

int UsageError(const std::string& text) {
    if (!text.empty()) std::fprintf(stderr, "telvane-host: %s\n", text.c_str());
    std::fputs(Usage, stderr);
    return 2;
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
    if (argc < 2) return UsageError("");
    std::string command = argv[1];
    std::vector<std::string> args(argv + 2, argv + argc);
    if (command == "-h" || command == "--help" || command == "help") {
        std::fputs(Usage, stdout);
        return 0;
    }
    if (command == "run") return Run(argc, argv, args);
    if (command == "stop") return args.empty() ? StopHost() : UsageError("stop takes no arguments");
    if (command == "status") return args.empty() ? PrintStatus() : UsageError("status takes no arguments");
    if (command == "set") return args.empty() ? UsageError("set: give POINT=VALUE") : SetPoints(args);
    if (command == "get") return args.empty() ? UsageError("get: give a POINT") : GetPoints(args);
    if (command == "clock") return ClockCommand(args);
    if (command == "dde-set") {
        return args.size() == 3 ? DdeSet(args[0], args[1], args[2]) : UsageError("dde-set: give APPLICATION|TOPIC ITEM TEXT");
    }
    return UsageError("unknown command " + command);
}
