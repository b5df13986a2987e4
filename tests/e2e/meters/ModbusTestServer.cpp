// A Modbus server for the tests: TCP on a loopback port, or RTU on a serial device. Commands on
// standard input, one a line, answers on standard output:
//   set TABLE ADDRESS WORD...      registers (or bits) from ADDRESS on
//   get TABLE ADDRESS COUNT        prints "ADDRESS: WORD..."
//   connections                    prints how many TCP connections it has taken
//   quit
// TABLE is holding, input, coil or discrete. Started as
//   meters_testserver tcp PORT [UNIT]        (PORT 0: a free port)
//   meters_testserver rtu DEVICE BAUD [UNIT]
// and prints "ready PORT" once it serves.
#include <QCoreApplication>
#include <QModbusRtuSerialServer>
#include <QModbusTcpConnectionObserver>
#include <QModbusTcpServer>
#include <QSerialPort>
#include <QSocketNotifier>
#include <QTcpServer>
#include <QVariant>

#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include <unistd.h>

#include "../../common/FreePort.h"

namespace {

constexpr int TableSize = 2048;

bool TableOf(const std::string& name, QModbusDataUnit::RegisterType& type) {
    if (name == "holding") type = QModbusDataUnit::HoldingRegisters;
    else if (name == "input") type = QModbusDataUnit::InputRegisters;
    else if (name == "coil") type = QModbusDataUnit::Coils;
    else if (name == "discrete") type = QModbusDataUnit::DiscreteInputs;
    else return false;
    return true;
}

// Counts the connections the TCP server takes.
class Counter : public QModbusTcpConnectionObserver {
public:
    bool acceptNewConnection(QTcpSocket*) override {
        ++taken;
        return true;
    }
    int taken = 0;
};

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s tcp PORT [UNIT] | rtu DEVICE BAUD [UNIT]\n", argv[0]);
        return 2;
    }
    std::string kind = argv[1];
    std::unique_ptr<QModbusServer> server;
    int port = 0;
    int unit = 1;
    Counter* counter = nullptr;  // the server owns it
    if (kind == "tcp") {
        port = std::atoi(argv[2]);
        if (port == 0) port = FreePort();
        if (argc > 3) unit = std::atoi(argv[3]);
        auto tcp = std::make_unique<QModbusTcpServer>();
        counter = new Counter;
        tcp->installConnectionObserver(counter);
        server = std::move(tcp);
        server->setConnectionParameter(QModbusDevice::NetworkAddressParameter, "127.0.0.1");
        server->setConnectionParameter(QModbusDevice::NetworkPortParameter, port);
    } else if (kind == "rtu" && argc > 3) {
        if (argc > 4) unit = std::atoi(argv[4]);
        server = std::make_unique<QModbusRtuSerialServer>();
        server->setConnectionParameter(QModbusDevice::SerialPortNameParameter, QString(argv[2]));
        server->setConnectionParameter(QModbusDevice::SerialBaudRateParameter, std::atoi(argv[3]));
        server->setConnectionParameter(QModbusDevice::SerialDataBitsParameter, QSerialPort::Data8);
        server->setConnectionParameter(QModbusDevice::SerialParityParameter, QSerialPort::NoParity);
        server->setConnectionParameter(QModbusDevice::SerialStopBitsParameter, QSerialPort::OneStop);
    } else {
        std::fprintf(stderr, "unknown kind %s\n", argv[1]);
        return 2;
    }
    QModbusDataUnitMap map;
    for (auto type : {QModbusDataUnit::HoldingRegisters, QModbusDataUnit::InputRegisters, QModbusDataUnit::Coils,
                      QModbusDataUnit::DiscreteInputs}) {
        map.insert(type, QModbusDataUnit(type, 0, TableSize));
    }
    server->setMap(map);
    server->setServerAddress(unit);
    if (!server->connectDevice()) {
        std::fprintf(stderr, "cannot serve: %s\n", server->errorString().toUtf8().constData());
        return 1;
    }
    std::printf("ready %d\n", port);
    std::fflush(stdout);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    std::string pending;
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char buffer[4096];
        ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            app.quit();
            return;
        }
        pending.append(buffer, static_cast<size_t>(n));
        size_t end;
        while ((end = pending.find('\n')) != std::string::npos) {
            std::istringstream line(pending.substr(0, end));
            pending.erase(0, end + 1);
            std::string command, table;
            line >> command;
            if (command == "quit") {
                app.quit();
                return;
            }
            if (command == "connections") {
                std::printf("%d\n", counter ? counter->taken : 0);
                std::fflush(stdout);
                continue;
            }
            QModbusDataUnit::RegisterType type;
            int address = 0;
            line >> table >> address;
            if (!TableOf(table, type)) {
                std::printf("error bad table\n");
            } else if (command == "set") {
                unsigned word = 0;
                while (line >> word) server->setData(type, static_cast<quint16>(address++), static_cast<quint16>(word));
                std::printf("ok\n");
            } else if (command == "get") {
                int count = 0;
                line >> count;
                std::printf("%d:", address);
                for (int i = 0; i < count; ++i) {
                    quint16 word = 0;
                    server->data(type, static_cast<quint16>(address + i), &word);
                    std::printf(" %u", word);
                }
                std::printf("\n");
            } else {
                std::printf("error unknown command\n");
            }
            std::fflush(stdout);
        }
    });
    int rc = app.exec();
    server->disconnectDevice();
    return rc;
}
