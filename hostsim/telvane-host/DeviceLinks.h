#pragma once
// The real devices of a host run: its Modbus devices and MQTT brokers, and the points they
// follow. A followed point is sent whenever its value changes, whoever wrote it (the monitor
// through the host libraries, `telvane-host set`, a device).
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DeviceHealth.h"
#include "HostState.h"
#include "Scenario.h"

class ModbusDevice;
class MqttLink;

// Every point a device section names must be a point of the generation; false with the line.
bool CheckDevicePoints(const Scenario& scenario, int generation, std::string& error);

class DeviceLinks {
public:
    DeviceLinks(const Scenario& scenario, HostState& state, int generation, HostLogger log);
    ~DeviceLinks();
    DeviceLinks(const DeviceLinks&) = delete;
    DeviceLinks& operator=(const DeviceLinks&) = delete;

    bool Start(std::string& error);
    // Once a tick: followed points that changed go to their devices.
    void Follow();
    void Stop();
    bool Empty() const { return modbus_.empty() && mqtt_.empty(); }

private:
    struct Follower {
        HostPoint* Point = nullptr;
        float Last = 0;
        bool Sent = false;
        std::function<void(double)> Send;
    };

    std::vector<std::unique_ptr<ModbusDevice>> modbus_;
    std::vector<std::unique_ptr<MqttLink>> mqtt_;
    std::vector<Follower> followers_;
};
