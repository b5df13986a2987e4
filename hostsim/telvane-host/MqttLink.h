#pragma once
// One MQTT broker connection: mapped topics feed host points, followed points are published.
// libmosquitto runs the connection on its own thread and reconnects with backoff; what it receives
// is handed to the host's event loop, where points are written. Of a burst only each point's last
// value is kept, so a flood never queues up behind the loop.
#include <QObject>
#include <QTimer>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "DeviceHealth.h"
#include "DeviceSections.h"
#include "HostState.h"

struct mosquitto;
struct mosquitto_message;

class MqttLink {
public:
    MqttLink(const MqttSourceConfig& entry, HostState& state, int generation, HostLogger log);
    ~MqttLink();
    MqttLink(const MqttLink&) = delete;
    MqttLink& operator=(const MqttLink&) = delete;

    bool Start(std::string& error);
    void Stop();
    // A followed point changed: publish it as the `publish`-th `publish =` line says (retained, at least once).
    void Publish(int publish, double value);
    // Called after a (re)connection with every published point's value, so the broker holds them.
    void SetRepublish(std::function<void()> republish) { republish_ = std::move(republish); }
    const MqttSourceConfig& Config() const { return config_; }
    // Messages that gave a value, and messages refused, so far.
    uint64_t Taken() const { return taken_.load(); }
    uint64_t Refused() const { return refused_.load(); }

private:
    static void OnConnect(mosquitto*, void* self, int rc);
    static void OnDisconnect(mosquitto*, void* self, int rc);
    static void OnMessage(mosquitto*, void* self, const mosquitto_message* message);
    void Post();  // callback thread: have the loop drain, once
    void Drain(); // the loop: values, state changes and log lines
    void AllInError();
    void TryConnect();

    struct Event {
        bool Up;
        std::string Reason;
    };

    MqttSourceConfig config_;
    HostLogger log_;
    DeviceHealth health_;
    std::vector<HostPoint*> mapPoints_;
    // The maps of one subscribed topic.
    struct TopicMaps {
        std::vector<int> Maps;
        bool Json = false;       // some map takes a field: the payload is read as JSON
        bool BadLogged = false;  // a refused payload was logged; the callback thread's alone
    };
    // Looked up with the message's topic as it comes, without making a string of it.
    struct TopicHash {
        using is_transparent = void;
        size_t operator()(std::string_view topic) const noexcept { return std::hash<std::string_view>{}(topic); }
    };
    std::unordered_map<std::string, TopicMaps, TopicHash, std::equal_to<>> topicMaps_;
    std::vector<double> incoming_;  // one message's values, per map; the callback thread's alone
    std::vector<char> incomingOk_;
    mosquitto* mosq_ = nullptr;
    bool looping_ = false;
    QObject context_;
    QTimer firstContact_;
    QTimer retry_;    // until the first connection attempt gets under way
    Backoff backoff_;
    std::function<void()> republish_;

    std::mutex mutex_;  // guards what the callback thread hands over
    std::vector<double> latest_;
    std::vector<char> fresh_;
    std::vector<Event> events_;
    std::vector<std::string> lines_;
    bool posted_ = false;
    std::atomic<uint64_t> taken_{0};
    std::atomic<uint64_t> refused_{0};
};
