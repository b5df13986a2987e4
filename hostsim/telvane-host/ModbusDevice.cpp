#include "ModbusDevice.h"

#include <QModbusDataUnit>
#include <QModbusReply>
#include <QModbusRtuSerialClient>
#include <QModbusTcpClient>
#include <QSerialPort>
#include <QVariant>

#include "DevicePoints.h"

namespace {

QModbusDataUnit::RegisterType RegisterTypeOf(ModbusTable table) {
    switch (table) {
    case ModbusTable::Holding: return QModbusDataUnit::HoldingRegisters;
    case ModbusTable::Input: return QModbusDataUnit::InputRegisters;
    case ModbusTable::Coil: return QModbusDataUnit::Coils;
    case ModbusTable::Discrete: return QModbusDataUnit::DiscreteInputs;
    }
    return QModbusDataUnit::Invalid;
}

std::string DeviceWhere(const ModbusDeviceConfig& entry) {
    return (entry.Serial ? entry.SerialPort : entry.Host + ":" + std::to_string(entry.Port)) + " unit " + std::to_string(entry.Unit);
}

std::string TableName(ModbusTable table) {
    switch (table) {
    case ModbusTable::Holding: return "holding";
    case ModbusTable::Input: return "input";
    case ModbusTable::Coil: return "coil";
    case ModbusTable::Discrete: return "discrete";
    }
    return "";
}

}  // namespace

ModbusDevice::ModbusDevice(const ModbusDeviceConfig& entry, HostState& state, int generation, HostLogger log)
    : config_(entry), log_(log), generation_(generation), health_("modbus " + entry.Name, DeviceWhere(entry), log) {
    for (const ModbusValueFormat& map : config_.Maps) mapPoints_.push_back(LocateDevicePoint(state, generation, map.Point));
    requests_ = GroupReads(config_.Maps);
    refused_.assign(requests_.size(), false);
    badValueLogged_.assign(config_.Maps.size(), false);
    writeInFlight_.assign(config_.Writes.size(), false);
    writeFailLogged_.assign(config_.Writes.size(), false);
    if (config_.Serial) {
        auto* rtu = new QModbusRtuSerialClient();
        rtu->setConnectionParameter(QModbusDevice::SerialPortNameParameter, QString::fromStdString(config_.SerialPort));
        rtu->setConnectionParameter(QModbusDevice::SerialBaudRateParameter, config_.Baud);
        rtu->setConnectionParameter(QModbusDevice::SerialDataBitsParameter, QSerialPort::Data8);
        rtu->setConnectionParameter(QModbusDevice::SerialParityParameter,
                                    config_.Parity == 'E'   ? QSerialPort::EvenParity
                                    : config_.Parity == 'O' ? QSerialPort::OddParity
                                                          : QSerialPort::NoParity);
        rtu->setConnectionParameter(QModbusDevice::SerialStopBitsParameter,
                                    config_.StopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop);
        client_.reset(rtu);
    } else {
        auto* tcp = new QModbusTcpClient();
        tcp->setConnectionParameter(QModbusDevice::NetworkAddressParameter, QString::fromStdString(config_.Host));
        tcp->setConnectionParameter(QModbusDevice::NetworkPortParameter, config_.Port);
        client_.reset(tcp);
    }
    // A request that times out counts at once: the next poll asks again anyway.
    client_->setTimeout(static_cast<int>(config_.TimeoutSeconds * 1000));
    client_->setNumberOfRetries(0);
    QObject::connect(client_.get(), &QModbusDevice::stateChanged, &context_,
                     [this](QModbusDevice::State s) { OnStateChanged(static_cast<int>(s)); });
    poll_.setInterval(static_cast<int>(config_.PollSeconds * 1000));
    QObject::connect(&poll_, &QTimer::timeout, &context_, [this] { Poll(); });
}

ModbusDevice::~ModbusDevice() {
    poll_.stop();
    QObject::disconnect(client_.get(), nullptr, &context_, nullptr);
    if (client_) client_->disconnectDevice();
}

void ModbusDevice::Start() {
    // Unread points are in error until the device first answers.
    AllInError();
    Connect();
    poll_.start();
}

void ModbusDevice::AllInError() {
    for (HostPoint* p : mapPoints_) SetDeviceError(p, true);
}

void ModbusDevice::Lost(const std::string& reason) {
    AllInError();
    health_.Down(reason);
}

void ModbusDevice::Connect() {
    ++epoch_;
    outstanding_ = 0;
    connectStarted_ = Clock::now();
    if (!client_->connectDevice()) {
        Lost(client_->errorString().isEmpty() ? "cannot connect" : client_->errorString().toStdString());
        nextConnect_ = Clock::now() + std::chrono::milliseconds(static_cast<int>(backoff_.Next() * 1000));
    }
}

void ModbusDevice::OnStateChanged(int state) {
    if (state == QModbusDevice::UnconnectedState) {
        ++epoch_;
        outstanding_ = 0;
        std::string reason = client_->errorString().toStdString();
        Lost(reason.empty() ? "disconnected" : reason);
        nextConnect_ = Clock::now() + std::chrono::milliseconds(static_cast<int>(backoff_.Next() * 1000));
    } else if (state == QModbusDevice::ConnectedState) {
        FlushWrites();
        Poll();
    }
}

void ModbusDevice::Poll() {
    QModbusDevice::State state = client_->state();
    if (state == QModbusDevice::UnconnectedState) {
        if (Clock::now() >= nextConnect_) Connect();
        return;
    }
    if (state == QModbusDevice::ConnectingState) {
        // A connection attempt into silence would otherwise wait for the system's long timeout.
        auto limit = std::chrono::milliseconds(static_cast<int>(std::max(config_.TimeoutSeconds, 3.0) * 1000));
        if (Clock::now() - connectStarted_ > limit) client_->disconnectDevice();
        return;
    }
    if (state != QModbusDevice::ConnectedState || outstanding_ > 0) return;
    if (requests_.empty()) {
        // A device that is only written to is up while connected.
        ++polls_;
        health_.Up();
        backoff_.Reset();
        return;
    }
    pollFailed_ = false;
    timedOut_ = false;
    failure_.clear();
    uint64_t epoch = epoch_;
    outstanding_ = static_cast<int>(requests_.size());
    for (size_t i = 0; i < requests_.size(); ++i) {
        const ModbusReadRequest& r = requests_[i];
        QModbusDataUnit unit(RegisterTypeOf(r.Table), r.Start, static_cast<quint16>(r.Count));
        QModbusReply* reply = client_->sendReadRequest(unit, config_.Unit);
        if (reply == nullptr) {
            OnRead(nullptr, static_cast<int>(i), epoch);
            continue;
        }
        if (reply->isFinished()) {
            OnRead(reply, static_cast<int>(i), epoch);
            reply->deleteLater();
        } else {
            QObject::connect(reply, &QModbusReply::finished, &context_, [this, reply, i, epoch] {
                OnRead(reply, static_cast<int>(i), epoch);
                reply->deleteLater();
            });
        }
    }
}

void ModbusDevice::OnRead(QModbusReply* reply, int request, uint64_t epoch) {
    if (epoch != epoch_) return;
    const ModbusReadRequest& r = requests_[request];
    if (reply != nullptr && reply->error() == QModbusDevice::NoError) {
        const QModbusDataUnit unit = reply->result();
        uint16_t words[2];
        for (int m : r.Maps) {
            const ModbusValueFormat& map = config_.Maps[m];
            int offset = map.Address - r.Start;
            int count = ModbusWordCount(map.Type);
            if (offset + count > static_cast<int>(unit.valueCount())) {
                SetDeviceError(mapPoints_[m], true);
                continue;
            }
            for (int k = 0; k < count; ++k) words[k] = unit.value(offset + k);
            if (!StoreDeviceValue(mapPoints_[m], DecodeModbusValue(map, words))) {
                // Not a number, or beyond a reading's range: the point keeps its last value, in error.
                SetDeviceError(mapPoints_[m], true);
                if (!badValueLogged_[m]) {
                    log_(health_.What() + ": " + TableName(map.Table) + " " + std::to_string(map.Address) +
                         " holds no usable value for " + PointRefText(map.Point, generation_));
                    badValueLogged_[m] = true;
                }
                continue;
            }
            badValueLogged_[m] = false;
            SetDeviceError(mapPoints_[m], false);
        }
        refused_[request] = false;
    } else {
        for (int m : r.Maps) SetDeviceError(mapPoints_[m], true);
        std::string reason = reply == nullptr ? client_->errorString().toStdString() : reply->errorString().toStdString();
        if (reply != nullptr && reply->error() == QModbusDevice::ProtocolError) {
            // The device answers but refuses these addresses: its other points stay good.
            if (!refused_[request]) {
                log_(health_.What() + ": refuses " + TableName(r.Table) + " " + std::to_string(r.Start) + ".." +
                     std::to_string(r.Start + r.Count - 1) + " (" + reason + ")");
                refused_[request] = true;
            }
        } else {
            pollFailed_ = true;
            timedOut_ = timedOut_ || reply == nullptr || reply->error() == QModbusDevice::TimeoutError;
            failure_ = reason.empty() ? "no answer" : reason;
        }
    }
    if (--outstanding_ > 0) return;
    if (pollFailed_) {
        Lost(failure_);
        // A TCP connection that stopped answering may be half-open (a gateway that hung, a meter
        // that lost power): start afresh rather than wait on it.
        if (timedOut_ && !config_.Serial) client_->disconnectDevice();
    } else {
        ++polls_;
        health_.Up();
        backoff_.Reset();
    }
}

void ModbusDevice::Write(int write, double value) {
    if (write < 0 || write >= static_cast<int>(config_.Writes.size())) return;
    pendingWrites_[write] = value;
    FlushWrites();
}

void ModbusDevice::FlushWrites() {
    if (client_->state() != QModbusDevice::ConnectedState) return;
    for (auto it = pendingWrites_.begin(); it != pendingWrites_.end();) {
        int w = it->first;
        if (writeInFlight_[w]) {
            ++it;
            continue;
        }
        double value = it->second;
        it = pendingWrites_.erase(it);
        const ModbusValueFormat& entry = config_.Writes[w];
        std::vector<uint16_t> words;
        if (!EncodeModbusValue(entry, value, words)) {
            if (writeFailLogged_[w]) continue;
            writeFailLogged_[w] = true;
            log_(health_.What() + ": " + PointRefText(entry.Point, generation_) + " = " + std::to_string(value) +
                 " does not fit its register; not written");
            continue;
        }
        QModbusDataUnit unit(RegisterTypeOf(entry.Table), entry.Address, QList<quint16>(words.begin(), words.end()));
        QModbusReply* reply = client_->sendWriteRequest(unit, config_.Unit);
        if (reply == nullptr) {
            pendingWrites_.emplace(w, value);
            return;
        }
        writeInFlight_[w] = true;
        uint64_t epoch = epoch_;
        if (reply->isFinished()) {
            OnWritten(reply, w, value, epoch);
            reply->deleteLater();
        } else {
            QObject::connect(reply, &QModbusReply::finished, &context_, [this, reply, w, value, epoch] {
                OnWritten(reply, w, value, epoch);
                reply->deleteLater();
            });
        }
    }
}

void ModbusDevice::OnWritten(QModbusReply* reply, int write, double value, uint64_t epoch) {
    writeInFlight_[write] = false;
    if (reply->error() == QModbusDevice::NoError) {
        writeFailLogged_[write] = false;
    } else {
        if (!writeFailLogged_[write]) {
            log_(health_.What() + ": writing " + PointRefText(config_.Writes[write].Point, generation_) + " failed (" +
                 reply->errorString().toStdString() + ")");
            writeFailLogged_[write] = true;
        }
        // A lost connection keeps the value for the next one; a refusal is not retried until it changes.
        if (reply->error() != QModbusDevice::ProtocolError) pendingWrites_.emplace(write, value);
    }
    if (epoch == epoch_) FlushWrites();
}
