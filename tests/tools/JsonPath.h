#pragma once

#include <jansson.h>

#include <charconv>
#include <string>
#include <string_view>

namespace tallix {

// Finds a member of decoded JSON by a path such as "body/sessions/0/events/1/name"; null when
// any step is missing, so a test that reads the wrong place fails rather than crashes.
inline json_t* jsonAt(const json_t* root, std::string_view path) {
  json_t* node = const_cast<json_t*>(root);
  while (node && !path.empty()) {
    const std::size_t slash = path.find('/');
    const std::string step(path.substr(0, slash));
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(step.data(), step.data() + step.size(), index);
    const bool isIndex = error == std::errc() && end == step.data() + step.size();
    node = isIndex ? json_array_get(node, index) : json_object_get(node, step.c_str());
    path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
  }
  return node;
}

inline std::string jsonText(const json_t* root, std::string_view path) {
  const json_t* node = jsonAt(root, path);
  // By its length: a text may hold NULs.
  return json_is_string(node) ? std::string(json_string_value(node), json_string_length(node))
                              : "<missing " + std::string(path) + ">";
}

inline json_int_t jsonInteger(const json_t* root, std::string_view path) {
  return json_integer_value(jsonAt(root, path));
}

}  // namespace tallix
