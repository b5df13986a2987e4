#include "DeviceLinks.h"

#include <cstring>

#include "DevicePoints.h"
#include "ModbusDevice.h"
#include "MqttLink.h"

namespace {

bool Known(const PointRef& point, int generation, int line, std::string& error) {
    HostTable table;
    int index = 0;
    if (PointLocation(point, generation, table, index)) return true;
    error = "line " + std::to_string(line) + ": " + PointRefText(point, generation) + " is not a point of a V" +
            std::to_string(generation) + " host";
    return false;
}

bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace

bool CheckDevicePoints(const Scenario& scenario, int generation, std::string& error) {
    for (const ModbusDeviceConfig& d : scenario.ModbusDevices) {
        for (const auto* list : {&d.Maps, &d.Writes}) {
            for (const ModbusValueFormat& v : *list) {
                if (!Known(v.Point, generation, v.Line, error)) return false;
            }
        }
    }
    for (const MqttSourceConfig& s : scenario.MqttSources) {
        for (const MqttMapping& m : s.Maps) {
            if (!Known(m.Point, generation, m.Line, error)) return false;
        }
        for (const MqttPublishing& p : s.Publishes) {
            if (!Known(p.Point, generation, p.Line, error)) return false;
        }
    }
    return true;
}

DeviceLinks::DeviceLinks(const Scenario& scenario, HostState& state, int generation, HostLogger log) {
    for (const ModbusDeviceConfig& entry : scenario.ModbusDevices) {
        auto device = std::make_unique<ModbusDevice>(entry, state, generation, log);
        ModbusDevice* d = device.get();
        for (size_t w = 0; w < entry.Writes.size(); ++w) {
            Follower f;
            f.Point = LocateDevicePoint(state, generation, entry.Writes[w].Point);
            f.Send = [d, w](double value) { d->Write(static_cast<int>(w), value); };
            followers_.push_back(f);
        }
        modbus_.push_back(std::move(device));
    }
    for (const MqttSourceConfig& entry : scenario.MqttSources) {
        auto link = std::make_unique<MqttLink>(entry, state, generation, log);
        MqttLink* l = link.get();
        size_t first = followers_.size();
        for (size_t p = 0; p < entry.Publishes.size(); ++p) {
            Follower f;
            f.Point = LocateDevicePoint(state, generation, entry.Publishes[p].Point);
            f.Send = [l, p](double value) { l->Publish(static_cast<int>(p), value); };
            followers_.push_back(f);
        }
        size_t last = followers_.size();
        // The broker may have lost what it held: send every followed value again.
        l->SetRepublish([this, first, last] {
            for (size_t i = first; i < last; ++i) followers_[i].Sent = false;
            Follow();
        });
        mqtt_.push_back(std::move(link));
    }
}

DeviceLinks::~DeviceLinks() { Stop(); }

bool DeviceLinks::Start(std::string& error) {
    for (auto& d : modbus_) d->Start();
    for (auto& l : mqtt_) {
        if (!l->Start(error)) return false;
    }
    return true;
}

void DeviceLinks::Follow() {
    for (Follower& f : followers_) {
        if (f.Point == nullptr) continue;
        float value = HostLoad(f.Point->Reading);
        if (f.Sent && SameBits(value, f.Last)) continue;
        f.Last = value;
        f.Sent = true;
        f.Send(value);
    }
}

void DeviceLinks::Stop() {
    for (auto& l : mqtt_) l->Stop();
    followers_.clear();
    mqtt_.clear();
    modbus_.clear();
}
