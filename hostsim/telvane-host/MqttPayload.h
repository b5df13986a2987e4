#pragma once
// The number an MQTT message carries: the whole payload as a number, or one field of a JSON
// object ("a.b" reaches into nested objects). Anything else is refused with the reason.
#include <QJsonObject>

#include <string>
#include <string_view>

inline constexpr size_t MqttMaxPayload = 65536;

// One message's payload, read as JSON once however many fields are taken from it.
class MqttPayload {
public:
    // json: fields will be asked for. The payload must outlive this.
    MqttPayload(std::string_view payload, bool json);
    // field "" takes the whole payload; a field needs json at construction.
    bool Value(const std::string& field, double& value, std::string& fault) const;

private:
    bool Number(const std::string& field, double& value, std::string& fault) const;

    std::string_view text_;
    bool isObject_ = false;
    QJsonObject object_;
};

bool PayloadValue(std::string_view payload, const std::string& field, double& value, std::string& fault);
