#pragma once
// One Modbus device (TCP or RTU) polled on the host's event loop: its mapped values go into host
// points, followed points go into its registers. Every exchange is asynchronous, so a dead device
// never delays another; it marks its points in error, keeps their last values and is reconnected
// with backoff.
#include <QObject>
#include <QTimer>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "DeviceHealth.h"
#include "DeviceSections.h"
#include "HostState.h"
#include "ModbusMap.h"

class QModbusClient;
class QModbusReply;

class ModbusDevice {
public:
    ModbusDevice(const ModbusDeviceConfig& entry, HostState& state, int generation, HostLogger log);
    ~ModbusDevice();
    ModbusDevice(const ModbusDevice&) = delete;
    ModbusDevice& operator=(const ModbusDevice&) = delete;

    void Start();
    // A followed point changed: send it as the device's `write`-th `write =` line says, now or once connected.
    void Write(int write, double value);
    const ModbusDeviceConfig& Config() const { return config_; }
    // Successful polls, for tests and benchmarks.
    uint64_t Polls() const { return polls_; }

private:
    using Clock = std::chrono::steady_clock;
    void Poll();
    void Connect();
    void OnStateChanged(int state);
    void OnRead(QModbusReply* reply, int request, uint64_t epoch);
    void FlushWrites();
    void OnWritten(QModbusReply* reply, int write, double value, uint64_t epoch);
    void AllInError();
    void Lost(const std::string& reason);

    ModbusDeviceConfig config_;
    HostLogger log_;
    int generation_;
    std::vector<HostPoint*> mapPoints_;
    std::vector<ModbusReadRequest> requests_;
    std::vector<bool> refused_;       // per request: its refusal was logged
    std::vector<bool> badValueLogged_;  // per map: an unusable value was logged
    std::unique_ptr<QModbusClient> client_;
    QObject context_;                 // lifetime of the connections made here
    QTimer poll_;
    DeviceHealth health_;
    Backoff backoff_;
    Clock::time_point nextConnect_{};
    Clock::time_point connectStarted_{};
    uint64_t epoch_ = 0;              // a new connection makes replies of the old one stale
    int outstanding_ = 0;
    bool pollFailed_ = false;
    bool timedOut_ = false;
    std::string failure_;
    uint64_t polls_ = 0;
    std::map<int, double> pendingWrites_;
    std::vector<bool> writeInFlight_;
    std::vector<bool> writeFailLogged_;
};
