#include "Json.h"

#include <array>
#include <cstdio>

#include "Text.h"

namespace vaxoapp {

JsonObject& JsonObject::Raw(const char* name, const std::string& value) {
    m_fields += m_fields.empty() ? "" : ",";
    m_fields += JsonText(name) + ":" + value;
    return *this;
}

JsonObject& JsonObject::Text(const char* name, const std::string& value) {
    return Raw(name, JsonText(value));
}

JsonObject& JsonObject::Texts(const char* name, const std::vector<std::string>& values) {
    std::string all;
    for (const std::string& value : values) {
        all += (all.empty() ? "" : ",") + JsonText(value);
    }
    return Raw(name, "[" + all + "]");
}

JsonObject& JsonObject::Flag(const char* name, bool value) {
    return Raw(name, value ? "true" : "false");
}

JsonObject& JsonObject::Real(const char* name, double value) {
    std::array<char, 64> digits{};
    const bool isSane = value > -1e15 && value < 1e15;  // neither endless nor no number
    std::snprintf(digits.data(), digits.size(), "%.2f", isSane ? value : 0.0);
    return Raw(name, digits.data());
}

JsonObject& JsonObject::Objects(const char* name, const std::vector<JsonObject>& values) {
    std::string all;
    for (const JsonObject& value : values) {
        all += (all.empty() ? "" : ",") + value.Line();
    }
    return Raw(name, "[" + all + "]");
}

JsonObject& JsonObject::Add(const JsonObject& other) {
    if (!other.m_fields.empty()) {
        m_fields += (m_fields.empty() ? "" : ",") + other.m_fields;
    }
    return *this;
}

}  // namespace vaxoapp
