#include "MqttLink.h"

#include <mosquitto.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <mutex>

#include "DevicePoints.h"
#include "MqttPayload.h"

namespace {

std::once_flag libraryOnce;

// A payload as it can go in a log line: short and printable.
std::string Excerpt(const void* data, int length) {
    std::string out;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (int i = 0; i < length && i < 40; ++i) out += (bytes[i] >= 32 && bytes[i] < 127) ? static_cast<char>(bytes[i]) : '?';
    if (length > 40) out += "...";
    return out;
}

}  // namespace

MqttLink::MqttLink(const MqttSourceConfig& entry, HostState& state, int generation, HostLogger log)
    : config_(entry), log_(log), health_("mqtt " + entry.Name, entry.Host + ":" + std::to_string(entry.Port), log) {
    std::call_once(libraryOnce, [] { mosquitto_lib_init(); });
    for (size_t i = 0; i < config_.Maps.size(); ++i) {
        mapPoints_.push_back(LocateDevicePoint(state, generation, config_.Maps[i].Point));
        TopicMaps& topic = topicMaps_[config_.Maps[i].Topic];
        topic.Maps.push_back(static_cast<int>(i));
        topic.Json = topic.Json || !config_.Maps[i].Field.empty();
    }
    incoming_.assign(config_.Maps.size(), 0);
    incomingOk_.assign(config_.Maps.size(), 0);
    latest_.assign(config_.Maps.size(), 0);
    fresh_.assign(config_.Maps.size(), 0);
    retry_.setSingleShot(true);
    QObject::connect(&retry_, &QTimer::timeout, &context_, [this] { TryConnect(); });
    firstContact_.setSingleShot(true);
    QObject::connect(&firstContact_, &QTimer::timeout, &context_, [this] {
        if (!health_.IsUp()) {
            AllInError();
            health_.Down("no answer from the broker");
        }
    });
}

MqttLink::~MqttLink() { Stop(); }

bool MqttLink::Start(std::string& error) {
    AllInError();
    mosq_ = mosquitto_new(config_.ClientId.empty() ? nullptr : config_.ClientId.c_str(), true, this);
    if (mosq_ == nullptr) {
        error = "mqtt " + config_.Name + ": cannot create a client";
        return false;
    }
    mosquitto_int_option(mosq_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    mosquitto_connect_callback_set(mosq_, &MqttLink::OnConnect);
    mosquitto_disconnect_callback_set(mosq_, &MqttLink::OnDisconnect);
    mosquitto_message_callback_set(mosq_, &MqttLink::OnMessage);
    mosquitto_reconnect_delay_set(mosq_, 1, 10, true);
    if (!config_.Username.empty() &&
        mosquitto_username_pw_set(mosq_, config_.Username.c_str(), config_.Password.empty() ? nullptr : config_.Password.c_str()) !=
            MOSQ_ERR_SUCCESS) {
        error = "mqtt " + config_.Name + ": bad username or password";
        return false;
    }
    if (config_.Tls) {
        int rc = mosquitto_tls_set(mosq_, config_.CaFile.empty() ? nullptr : config_.CaFile.c_str(),
                                   config_.CaFile.empty() ? "/etc/ssl/certs" : nullptr, nullptr, nullptr, nullptr);
        if (rc != MOSQ_ERR_SUCCESS) {
            error = "mqtt " + config_.Name + ": TLS: " + mosquitto_strerror(rc);
            return false;
        }
    }
    firstContact_.start(3000);
    TryConnect();
    return true;
}

// Once a connection attempt is under way, the client's own thread reconnects with backoff; an
// attempt refused at once (nobody listening) is repeated here until one gets that far.
void MqttLink::TryConnect() {
    int rc = mosquitto_connect_async(mosq_, config_.Host.c_str(), config_.Port, 30);
    if (rc == MOSQ_ERR_SUCCESS) rc = mosquitto_loop_start(mosq_);
    if (rc == MOSQ_ERR_SUCCESS) {
        looping_ = true;
        return;
    }
    AllInError();
    health_.Down(rc == MOSQ_ERR_ERRNO ? std::strerror(errno) : mosquitto_strerror(rc));
    retry_.start(static_cast<int>(backoff_.Next() * 1000));
}

void MqttLink::Stop() {
    firstContact_.stop();
    retry_.stop();
    if (mosq_ == nullptr) return;
    log_(health_.What() + ": " + std::to_string(taken_.load()) + " messages taken, " + std::to_string(refused_.load()) +
         " refused");
    if (looping_) {
        mosquitto_disconnect(mosq_);
        mosquitto_loop_stop(mosq_, false);
        looping_ = false;
    }
    mosquitto_destroy(mosq_);
    mosq_ = nullptr;
}

void MqttLink::AllInError() {
    for (HostPoint* p : mapPoints_) SetDeviceError(p, true);
}

void MqttLink::Publish(int publish, double value) {
    if (mosq_ == nullptr || publish < 0 || publish >= static_cast<int>(config_.Publishes.size())) return;
    char text[32];
    auto result = std::to_chars(text, text + sizeof text, static_cast<float>(value));
    int length = static_cast<int>(result.ptr - text);
    // While disconnected, QoS 1 messages wait in the client and go out on reconnection.
    mosquitto_publish(mosq_, nullptr, config_.Publishes[publish].Topic.c_str(), length, text, 1, true);
}

void MqttLink::OnConnect(mosquitto* mosq, void* self, int rc) {
    auto* link = static_cast<MqttLink*>(self);
    if (rc == 0) {
        for (const auto& [topic, maps] : link->topicMaps_) mosquitto_subscribe(mosq, nullptr, topic.c_str(), 0);
    }
    std::lock_guard<std::mutex> lock(link->mutex_);
    link->events_.push_back(Event{rc == 0, rc == 0 ? "" : mosquitto_connack_string(rc)});
    link->Post();
}

void MqttLink::OnDisconnect(mosquitto*, void* self, int rc) {
    auto* link = static_cast<MqttLink*>(self);
    std::lock_guard<std::mutex> lock(link->mutex_);
    link->events_.push_back(Event{false, rc == 0 ? "disconnected" : "connection lost"});
    link->Post();
}

void MqttLink::OnMessage(mosquitto*, void* self, const mosquitto_message* message) {
    auto* link = static_cast<MqttLink*>(self);
    auto found = link->topicMaps_.find(std::string_view(message->topic));
    if (found == link->topicMaps_.end()) return;
    TopicMaps& topic = found->second;
    // Read once and resolved before the lock is taken: the loop's Drain waits on it.
    const MqttPayload payload(
        std::string_view(static_cast<const char*>(message->payload), static_cast<size_t>(message->payloadlen)), topic.Json);
    bool any = false;
    std::string line;
    for (int m : topic.Maps) {
        std::string fault;
        const bool ok = payload.Value(link->config_.Maps[m].Field, link->incoming_[m], fault);
        link->incomingOk_[m] = ok;
        any = any || ok;
        if (!ok && !topic.BadLogged) {
            topic.BadLogged = true;
            line = link->health_.What() + ": bad payload on " + message->topic + " (" + fault + "): " +
                   Excerpt(message->payload, message->payloadlen) + "; such messages are ignored";
        }
    }
    (any ? link->taken_ : link->refused_).fetch_add(1);
    std::lock_guard<std::mutex> lock(link->mutex_);
    for (int m : topic.Maps) {
        if (!link->incomingOk_[m]) continue;
        link->latest_[m] = link->incoming_[m];
        link->fresh_[m] = 1;
    }
    if (!line.empty()) link->lines_.push_back(std::move(line));
    link->Post();
}

void MqttLink::Post() {
    if (posted_) return;
    posted_ = true;
    QMetaObject::invokeMethod(&context_, [this] { Drain(); }, Qt::QueuedConnection);
}

void MqttLink::Drain() {
    std::vector<Event> events;
    std::vector<std::string> lines;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        posted_ = false;
        for (size_t i = 0; i < fresh_.size(); ++i) {
            if (!fresh_[i]) continue;
            fresh_[i] = 0;
            SetDeviceError(mapPoints_[i], !StoreDeviceValue(mapPoints_[i], latest_[i]));
        }
        events.swap(events_);
        lines.swap(lines_);
    }
    for (const std::string& line : lines) log_(line);
    for (const Event& e : events) {
        if (e.Up) {
            health_.Up();
            if (republish_) republish_();
        } else {
            AllInError();
            health_.Down(e.Reason);
        }
    }
}
