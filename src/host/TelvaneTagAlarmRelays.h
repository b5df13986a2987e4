#pragma once
// Cursor over a V4 host's tag alarm relays, 1 to 512 ("TagAlarmRelay7"). Without a V4 host the
// range is empty and every member answers 0, false or an empty text.
#include <cstdint>
#include <string>

class Telvane;

class TelvaneTagAlarmRelays {
public:
    explicit TelvaneTagAlarmRelays(Telvane* host = nullptr) : host_(host) {}

    int32_t IndexMin() const;
    int32_t IndexMax() const;
    int32_t Index() const { return index_; }
    void Index(int32_t value);
    std::string IndexReference() const;
    void IndexReference(const std::string& reference);
    std::string Name();
    std::string Address();
    bool Enabled();

private:
    bool Answers() const;
    Telvane* host_ = nullptr;
    int32_t index_ = 0;
};
