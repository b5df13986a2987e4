#pragma once
// Cursor over the recorders' alarm relays: 1 to 160 on V4 (32 per recorder, "R2RecAlarmRelay8"),
// 1 to 320 on V5 ("RecAlarmRelay40"), none without a host.
#include <cstdint>
#include <string>

class Telvane;

class TelvaneRecAlarmRelays {
public:
    explicit TelvaneRecAlarmRelays(Telvane* host = nullptr) : host_(host) {}

    int32_t Index() const { return index_; }
    void Index(int32_t value);
    int32_t IndexMin() const { return 1; }
    int32_t IndexMax() const;
    std::string IndexReference() const;
    void IndexReference(const std::string& reference);
    int32_t RecorderNumber() const;
    int32_t RecorderRelayNumber() const;
    // These three answer only when the recorder library is loaded.
    std::string Name();
    std::string Address();
    bool Enabled();

private:
    bool Answers() const;
    Telvane* host_ = nullptr;
    int32_t index_ = 0;
};
