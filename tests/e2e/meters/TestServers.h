#pragma once
// Real servers for the device tests, on loopback and stopped by pid: the Modbus test server
// (TCP, or RTU on a pseudo-terminal bridge), the mosquitto broker, and an MQTT client.
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "../scenarios/Spawn.h"

struct mosquitto;

namespace meters {


// A child process with its standard input and output on pipes.
class Child {
public:
    ~Child() { Stop(); }
    bool Start(const std::vector<std::string>& argv);
    bool WriteLine(const std::string& line);
    // The next output line, or false after timeout.
    bool ReadLine(std::string& line, std::chrono::milliseconds timeout = std::chrono::seconds(5));
    void Stop();  // SIGTERM, then SIGKILL, and reaped
    pid_t Pid() const { return pid_; }

private:
    pid_t pid_ = 0;
    int in_ = -1, out_ = -1;
    std::string buffer_;
};

class ModbusServer {
public:
    // TCP on port (0: a free one).
    bool StartTcp(int port = 0, int unit = 1);
    bool StartRtu(const std::string& device, int baud, int unit = 1);
    void Stop() { child_.Stop(); }
    int Port() const { return port_; }
    pid_t Pid() const { return child_.Pid(); }
    bool Set(const std::string& table, int address, const std::vector<unsigned>& words);
    std::vector<unsigned> Get(const std::string& table, int address, int count);
    int Connections();  // TCP connections taken so far

private:
    Child child_;
    int port_ = 0;
};

class Broker {
public:
    explicit Broker(std::filesystem::path folder) : folder_(std::move(folder)) {}
    ~Broker() { Stop(); }
    // Settings after the listener line; empty: anonymous clients allowed.
    void SetListenerConfig(std::string text) { listenerConfig_ = std::move(text); }
    bool Start(int port = 0);  // waits until it takes connections
    void Stop();
    int Port() const { return port_; }

private:
    std::filesystem::path folder_;
    std::string listenerConfig_;
    pid_t pid_ = 0;
    int port_ = 0;
};

// Two pseudo-terminals whose masters are joined: what is written to one slave is read on the other.
class PtyBridge {
public:
    ~PtyBridge() { Stop(); }
    bool Start();
    void Stop();
    const std::string& A() const { return a_; }
    const std::string& B() const { return b_; }

private:
    int masterA_ = -1, masterB_ = -1, slaveA_ = -1, slaveB_ = -1;
    std::string a_, b_;
    std::atomic<bool> stop_{false};
    std::thread relay_;
};

// A plain libmosquitto client: publishes, and collects what its subscriptions receive.
class MqttClient {
public:
    ~MqttClient() { Stop(); }
    bool Start(int port, const std::vector<std::string>& subscriptions = {});
    void Stop();
    bool Publish(const std::string& topic, const std::string& payload, bool retain = false);
    // The last payload seen on topic, waited for until it equals want (empty want: any).
    bool WaitFor(const std::string& topic, const std::string& want, std::chrono::milliseconds timeout, std::string& got);
    size_t Count(const std::string& topic);

private:
    mosquitto* mosq_ = nullptr;
    std::mutex mutex_;
    std::map<std::string, std::vector<std::string>> seen_;
    std::vector<std::string> subscriptions_;
    std::atomic<bool> connected_{false};
    friend struct MqttClientCallbacks;
};

}  // namespace meters
