#pragma once
// The DDE topics the host serves:
//  - V4: "TagServer|Tags" (tag set-up pokes, item "tag,Parameter", and "Save"),
//    "Recorder N|<command>" (line values, set-up, totals, statistics and relays, item "page,line"
//    or a relay number, and "Save");
//  - V5: "Recorder 1|<command>" for the line set-up, statistics and relays (pages 1 to 100);
//  - generic application|topic items for meters read over DDE, with automatic links that get
//    every change;
//  - "telvane-host|Control", through which `telvane-host dde-set` reaches the running host.
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "HostState.h"
#include "platform/DdeServer.h"
#include "platform/VbError.h"

inline constexpr char HostControlApplication[] = "telvane-host";
inline constexpr char HostControlTopic[] = "Control";
inline constexpr char HostControlSetItem[] = "dde-set";

class HostDdeService {
public:
    HostDdeService(HostState& state, int generation);
    ~HostDdeService();

    bool Start(std::string& error);
    void Stop();

    // Sets an item of a generic topic ("APP|TOPIC"), serving the application from now on, and
    // pushes the text to the automatic links on it when it changed.
    VbError SetItem(std::string_view applicationAndTopic, std::string_view item, std::string_view text);
    // Sends what slow clients could not take yet.
    void Pump();
    // "Save" executes received so far.
    int SaveCount() const { return saves_; }

private:
    struct Generic;
    DdeServerHandlers TagServerHandlers();
    DdeServerHandlers RecorderHandlers(int recorder);
    DdeServerHandlers ControlHandlers();
    DdeServerHandlers GenericHandlers(Generic* generic);
    bool Owned(std::string_view application) const;

    HostState& state_;
    int generation_;
    int saves_ = 0;
    std::vector<std::unique_ptr<DdeServer>> own_;
    std::vector<std::unique_ptr<Generic>> generic_;
};
