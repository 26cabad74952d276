#include "tools/tallix-collector/TallixAvroFromJson.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>

namespace tallix {

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
  throw std::invalid_argument((path.empty() ? "the document" : path) + " " + reason);
}

void expect(bool holds, const std::string& path, const char* what) {
  if (!holds)
    refuse(path, std::string("must be ") + what);
}

std::string childPath(const std::string& path, const std::string& step) {
  return path.empty() ? step : path + "/" + step;
}

std::string typeName(const json_t* type) {
  const json_t* name = json_is_object(type) ? json_object_get(type, "type") : type;
  return json_is_string(name) ? json_string_value(name) : "";
}

void check(int avroError) {
  if (avroError != 0)
    throw std::runtime_error(std::string("Avro: ") + avro_strerror());
}

}  // namespace

void TallixAvroFromJson::fill(avro_value_t& value, const json_t* type, const json_t* given,
                              const std::string& path) {
  switch (avro_value_get_type(&value)) {
    case AVRO_RECORD:
      return fillRecord(value, type, given, path);
    case AVRO_ARRAY:
      return fillArray(value, type, given, path);
    case AVRO_UNION:
      return fillUnion(value, type, given, path);
    case AVRO_ENUM:
      return fillEnum(value, type, given, path);
    default:
      return fillPrimitive(value, given, path);
  }
}

void TallixAvroFromJson::fillRecord(avro_value_t& value, const json_t* type, const json_t* given,
                                    const std::string& path) {
  expect(json_is_object(given), path, "an object");
  const json_t* fields = json_object_get(type, "fields");
  for (std::size_t index = 0; index < json_array_size(fields); ++index) {
    const json_t* field = json_array_get(fields, index);
    const std::string fieldPath =
        childPath(path, json_string_value(json_object_get(field, "name")));
    avro_value_t child;
    check(avro_value_get_by_index(&value, index, &child, nullptr));
    const TallixJson member = memberOrDefault(field, given, fieldPath);
    fill(child, json_object_get(field, "type"), member.get(), fieldPath);
  }
}

void TallixAvroFromJson::fillArray(avro_value_t& value, const json_t* type, const json_t* given,
                                   const std::string& path) {
  expect(json_is_array(given), path, "an array");
  for (std::size_t index = 0; index < json_array_size(given); ++index) {
    avro_value_t element;
    check(avro_value_append(&value, &element, nullptr));
    fill(element, json_object_get(type, "items"), json_array_get(given, index),
         childPath(path, std::to_string(index)));
  }
}

// null takes the "null" branch, anything else the first other one.
void TallixAvroFromJson::fillUnion(avro_value_t& value, const json_t* type, const json_t* given,
                                   const std::string& path) {
  for (std::size_t index = 0; index < json_array_size(type); ++index) {
    const json_t* branchType = json_array_get(type, index);
    if ((typeName(branchType) == "null") != json_is_null(given))
      continue;
    avro_value_t branch;
    check(avro_value_set_branch(&value, static_cast<int>(index), &branch));
    return fill(branch, branchType, given, path);
  }
  refuse(path, "has no branch for this value");
}

void TallixAvroFromJson::fillEnum(avro_value_t& value, const json_t* type, const json_t* given,
                                  const std::string& path) {
  const int symbol =
      json_is_string(given)
          ? avro_schema_enum_get_by_name(avro_value_get_schema(&value), json_string_value(given))
          : -1;
  if (symbol < 0) {
    const std::unique_ptr<char, decltype(&std::free)> names(
        json_dumps(json_object_get(type, "symbols"), JSON_COMPACT), &std::free);
    refuse(path, std::string("must be one of ") + (names ? names.get() : "its symbols"));
  }
  check(avro_value_set_enum(&value, symbol));
}

void TallixAvroFromJson::fillPrimitive(avro_value_t& value, const json_t* given,
                                       const std::string& path) {
  switch (avro_value_get_type(&value)) {
    case AVRO_STRING: {
      expect(json_is_string(given), path, "a string");
      const std::string text(json_string_value(given), json_string_length(given));
      return check(avro_value_set_string_len(&value, text.c_str(), text.size() + 1));
    }
    case AVRO_BYTES: {
      expect(json_is_string(given), path, "a string");
      std::string bytes(json_string_value(given), json_string_length(given));
      return check(avro_value_set_bytes(&value, bytes.data(), bytes.size()));
    }
    case AVRO_INT32: {
      const json_int_t number = json_integer_value(given);
      expect(json_is_integer(given) && number >= std::numeric_limits<std::int32_t>::min() &&
                 number <= std::numeric_limits<std::int32_t>::max(),
             path, "a 32-bit integer");
      return check(avro_value_set_int(&value, static_cast<std::int32_t>(number)));
    }
    case AVRO_INT64:
      expect(json_is_integer(given), path, "an integer");
      return check(avro_value_set_long(&value, json_integer_value(given)));
    case AVRO_BOOLEAN:
      expect(json_is_boolean(given), path, "true or false");
      return check(avro_value_set_boolean(&value, json_is_true(given)));
    case AVRO_NULL:
      expect(json_is_null(given), path, "null");
      return check(avro_value_set_null(&value));
    default:
      refuse(path, "has a type the collector does not fill");
  }
}

TallixJson TallixAvroFromJson::memberOrDefault(const json_t* field, const json_t* given,
                                               const std::string& path) {
  const char* name = json_string_value(json_object_get(field, "name"));
  if (json_t* member = json_object_get(given, name))
    return TallixJson(json_incref(member));
  if (json_t* fallback = json_object_get(field, "default"))
    return TallixJson(json_incref(fallback));
  const json_t* type = json_object_get(field, "type");
  const std::string kind = typeName(type);
  if (kind == "record")
    return TallixJson(json_object());
  if (kind == "array")
    return TallixJson(json_array());
  if (json_is_array(type) && typeName(json_array_get(type, 0)) == "null")
    return TallixJson(json_null());
  refuse(path, "is missing");
}

}  // namespace tallix
