#include "TestServers.h"

#include <fcntl.h>
#include <mosquitto.h>
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>

namespace meters {

using namespace std::chrono_literals;

namespace {

bool Accepts(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(port));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
    ::close(fd);
    return ok;
}

void StopPid(pid_t& pid) {
    if (pid > 0) ::kill(pid, SIGTERM);
    e2e::WaitExit(pid, 2s);
}

}  // namespace

bool Child::Start(const std::vector<std::string>& argv) {
    int toChild[2], fromChild[2];
    if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0) return false;
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(toChild[0], 0);
        ::dup2(fromChild[1], 1);
        std::vector<char*> args;
        for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        ::execvp(args[0], args.data());
        ::_exit(127);
    }
    ::close(toChild[0]);
    ::close(fromChild[1]);
    in_ = toChild[1];
    out_ = fromChild[0];
    return pid_ > 0;
}

bool Child::WriteLine(const std::string& line) {
    std::string text = line + "\n";
    return in_ >= 0 && ::write(in_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool Child::ReadLine(std::string& line, std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (true) {
        size_t end = buffer_.find('\n');
        if (end != std::string::npos) {
            line = buffer_.substr(0, end);
            buffer_.erase(0, end + 1);
            return true;
        }
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (out_ < 0 || left.count() <= 0) return false;
        pollfd p{out_, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
        char chunk[4096];
        ssize_t n = ::read(out_, chunk, sizeof chunk);
        if (n <= 0) return false;
        buffer_.append(chunk, static_cast<size_t>(n));
    }
}

void Child::Stop() {
    if (in_ >= 0) ::close(in_);
    in_ = -1;
    StopPid(pid_);
    if (out_ >= 0) ::close(out_);
    out_ = -1;
    buffer_.clear();
}

bool ModbusServer::StartTcp(int port, int unit) {
    if (!child_.Start({MODBUS_TEST_SERVER, "tcp", std::to_string(port), std::to_string(unit)})) return false;
    std::string line;
    if (!child_.ReadLine(line) || line.rfind("ready ", 0) != 0) return false;
    port_ = std::stoi(line.substr(6));
    return true;
}

bool ModbusServer::StartRtu(const std::string& device, int baud, int unit) {
    if (!child_.Start({MODBUS_TEST_SERVER, "rtu", device, std::to_string(baud), std::to_string(unit)})) return false;
    std::string line;
    return child_.ReadLine(line) && line.rfind("ready ", 0) == 0;
}

bool ModbusServer::Set(const std::string& table, int address, const std::vector<unsigned>& words) {
    std::string command = "set " + table + " " + std::to_string(address);
    for (unsigned w : words) command += " " + std::to_string(w);
    std::string line;
    return child_.WriteLine(command) && child_.ReadLine(line) && line == "ok";
}

std::vector<unsigned> ModbusServer::Get(const std::string& table, int address, int count) {
    std::vector<unsigned> words;
    std::string line;
    if (!child_.WriteLine("get " + table + " " + std::to_string(address) + " " + std::to_string(count)) ||
        !child_.ReadLine(line)) {
        return words;
    }
    std::istringstream in(line.substr(line.find(':') + 1));
    unsigned w = 0;
    while (in >> w) words.push_back(w);
    return words;
}

int ModbusServer::Connections() {
    std::string line;
    if (!child_.WriteLine("connections") || !child_.ReadLine(line)) return -1;
    return std::stoi(line);
}

bool Broker::Start(int port) {
    port_ = port == 0 ? ::FreePort() : port;
    std::filesystem::create_directories(folder_);
    std::filesystem::path config = folder_ / "mosquitto.conf";
    std::ofstream(config) << "listener " << port_ << " 127.0.0.1\n"
                          << (listenerConfig_.empty() ? "allow_anonymous true\n" : listenerConfig_)
                          << "persistence false\nlog_dest none\n";
    pid_ = e2e::Spawn("mosquitto", {"-c", config.string()}, "/dev/null", "/dev/null");
    for (int i = 0; i < 250; ++i) {
        if (Accepts(port_)) return true;
        if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
            pid_ = 0;
            return false;
        }
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

void Broker::Stop() { StopPid(pid_); }

bool PtyBridge::Start() {
    char name[256];
    termios raw{};
    cfmakeraw(&raw);
    if (::openpty(&masterA_, &slaveA_, name, &raw, nullptr) != 0) return false;
    a_ = name;
    if (::openpty(&masterB_, &slaveB_, name, &raw, nullptr) != 0) return false;
    b_ = name;
    stop_ = false;
    relay_ = std::thread([this] {
        pollfd fds[2] = {{masterA_, POLLIN, 0}, {masterB_, POLLIN, 0}};
        char buffer[512];
        while (!stop_) {
            if (::poll(fds, 2, 50) <= 0) continue;
            for (int i = 0; i < 2; ++i) {
                if (!(fds[i].revents & POLLIN)) continue;
                ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
                if (n > 0) (void)!::write(fds[1 - i].fd, buffer, static_cast<size_t>(n));
            }
            // A slave end nobody holds open reports a hang-up; keep polling without spinning.
            if ((fds[0].revents | fds[1].revents) & POLLHUP) std::this_thread::sleep_for(10ms);
        }
    });
    return true;
}

void PtyBridge::Stop() {
    stop_ = true;
    if (relay_.joinable()) relay_.join();
    for (int* fd : {&masterA_, &masterB_, &slaveA_, &slaveB_}) {
        if (*fd >= 0) ::close(*fd);
        *fd = -1;
    }
}

struct MqttClientCallbacks {
    static void OnConnect(mosquitto* mosq, void* self, int rc) {
        auto* c = static_cast<MqttClient*>(self);
        if (rc != 0) return;
        for (const std::string& s : c->subscriptions_) mosquitto_subscribe(mosq, nullptr, s.c_str(), 1);
        c->connected_ = true;
    }
    static void OnMessage(mosquitto*, void* self, const mosquitto_message* m) {
        auto* c = static_cast<MqttClient*>(self);
        std::lock_guard<std::mutex> lock(c->mutex_);
        c->seen_[m->topic].emplace_back(static_cast<const char*>(m->payload), static_cast<size_t>(m->payloadlen));
    }
};

bool MqttClient::Start(int port, const std::vector<std::string>& subscriptions) {
    mosquitto_lib_init();
    subscriptions_ = subscriptions;
    mosq_ = mosquitto_new(nullptr, true, this);
    if (mosq_ == nullptr) return false;
    mosquitto_connect_callback_set(mosq_, &MqttClientCallbacks::OnConnect);
    mosquitto_message_callback_set(mosq_, &MqttClientCallbacks::OnMessage);
    if (mosquitto_connect(mosq_, "127.0.0.1", port, 30) != MOSQ_ERR_SUCCESS) return false;
    if (mosquitto_loop_start(mosq_) != MOSQ_ERR_SUCCESS) return false;
    for (int i = 0; i < 250 && !connected_; ++i) std::this_thread::sleep_for(10ms);
    // Subscriptions are acknowledged asynchronously; give them a moment.
    std::this_thread::sleep_for(100ms);
    return connected_;
}

void MqttClient::Stop() {
    if (mosq_ == nullptr) return;
    mosquitto_disconnect(mosq_);
    mosquitto_loop_stop(mosq_, false);
    mosquitto_destroy(mosq_);
    mosq_ = nullptr;
}

bool MqttClient::Publish(const std::string& topic, const std::string& payload, bool retain) {
    return mosquitto_publish(mosq_, nullptr, topic.c_str(), static_cast<int>(payload.size()), payload.data(), 1, retain) ==
           MOSQ_ERR_SUCCESS;
}

bool MqttClient::WaitFor(const std::string& topic, const std::string& want, std::chrono::milliseconds timeout,
                         std::string& got) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    do {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            auto found = seen_.find(topic);
            if (found != seen_.end() && !found->second.empty()) {
                got = found->second.back();
                if (want.empty() || got == want) return true;
            }
        }
        std::this_thread::sleep_for(10ms);
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
}

size_t MqttClient::Count(const std::string& topic) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = seen_.find(topic);
    return found == seen_.end() ? 0 : found->second.size();
}

}  // namespace meters
