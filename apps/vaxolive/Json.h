// One JSON object on one line, built a field at a time.
#ifndef VAXO_APPS_JSON_H
#define VAXO_APPS_JSON_H

#include <string>
#include <type_traits>
#include <vector>

namespace vaxoapp {

class JsonObject {
public:
    JsonObject& Text(const char* name, const std::string& value);
    JsonObject& Texts(const char* name, const std::vector<std::string>& values);
    JsonObject& Flag(const char* name, bool value);
    JsonObject& Real(const char* name, double value);  // two digits behind the point
    template <class Whole, std::enable_if_t<std::is_integral_v<Whole>, int> = 0>
    JsonObject& Number(const char* name, Whole value) {
        return Raw(name, std::to_string(value));
    }
    JsonObject& Objects(const char* name, const std::vector<JsonObject>& values);

    std::string Line() const { return "{" + m_fields + "}"; }
    // With another object's fields behind these.
    JsonObject& Add(const JsonObject& other);

private:
    JsonObject& Raw(const char* name, const std::string& value);

    std::string m_fields;
};

}  // namespace vaxoapp

#endif
