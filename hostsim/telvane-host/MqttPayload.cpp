#include "MqttPayload.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cctype>
#include <charconv>
#include <cmath>

namespace {

bool PlainNumber(std::string_view text, double& value) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    if (text.empty()) return false;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && std::isfinite(value);
}

}  // namespace

bool PayloadValue(std::string_view payload, const std::string& field, double& value, std::string& fault) {
    if (payload.size() > MqttMaxPayload) {
        fault = "payload too long";
        return false;
    }
    if (field.empty()) {
        if (PlainNumber(payload, value)) return true;
        fault = "not a number";
        return false;
    }
    QJsonParseError parseError{};
    QJsonDocument doc = QJsonDocument::fromJson(QByteArray(payload.data(), static_cast<qsizetype>(payload.size())), &parseError);
    if (parseError.error != QJsonParseError::NoError || !doc.isObject()) {
        fault = "not a JSON object";
        return false;
    }
    QJsonValue at = doc.object();
    size_t start = 0;
    while (true) {
        size_t dot = field.find('.', start);
        std::string part = field.substr(start, dot == std::string::npos ? std::string::npos : dot - start);
        if (!at.isObject() || !at.toObject().contains(QString::fromStdString(part))) {
            fault = "no field " + field;
            return false;
        }
        at = at.toObject().value(QString::fromStdString(part));
        if (dot == std::string::npos) break;
        start = dot + 1;
    }
    if (at.isDouble()) {
        value = at.toDouble();
        if (std::isfinite(value)) return true;
    } else if (at.isBool()) {
        value = at.toBool() ? 1 : 0;
        return true;
    } else if (at.isString() && PlainNumber(at.toString().toStdString(), value)) {
        return true;
    }
    fault = "field " + field + " is not a number";
    return false;
}
