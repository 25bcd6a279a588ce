// As much JSON as the client writes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

// A JSON string. Bytes that are no UTF-8 (file names may hold any) become U+FFFD.
std::string json_string(std::string_view text);

// An array of values that are JSON already, and of strings.
std::string json_array(const std::vector<std::string> &values);
std::string json_strings(const std::vector<std::string> &texts);

class JsonObject {
  public:
    JsonObject &text(std::string_view key, std::string_view value) { return raw(key, json_string(value)); }
    JsonObject &number(std::string_view key, uint64_t value) { return raw(key, std::to_string(value)); }
    // A value that is JSON already.
    JsonObject &raw(std::string_view key, std::string_view value);
    JsonObject &members_of(const JsonObject &other);
    std::string str() const { return "{" + members_ + "}"; }

  private:
    std::string members_;
};

} // namespace qbgl
