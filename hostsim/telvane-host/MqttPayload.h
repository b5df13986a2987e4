#pragma once
// The number an MQTT message carries: the whole payload as a number, or one field of a JSON
// object ("a.b" reaches into nested objects). Anything else is refused with the reason.
#include <string>
#include <string_view>

inline constexpr size_t MqttMaxPayload = 65536;

bool PayloadValue(std::string_view payload, const std::string& field, double& value, std::string& fault);
