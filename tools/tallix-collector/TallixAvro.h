#pragma once

#include <avro.h>

#include <string_view>

namespace tallix {

// One owned Avro value of a generic class; released with its class.
class TallixAvroValue {
 public:
  explicit TallixAvroValue(avro_value_iface_t* type);
  ~TallixAvroValue();
  TallixAvroValue(const TallixAvroValue&) = delete;
  TallixAvroValue& operator=(const TallixAvroValue&) = delete;

  avro_value_t* get() { return &value_; }

 private:
  avro_value_t value_{};
};

// A parsed schema with its generic value class, both owned. The texts are the agent's own, so
// a text that does not parse is a fault of the program and throws std::logic_error.
class TallixAvroType {
 public:
  explicit TallixAvroType(std::string_view schemaText);
  // Shares a schema owned elsewhere, e.g. a field's type inside a record.
  explicit TallixAvroType(avro_schema_t schema);
  ~TallixAvroType();
  TallixAvroType(const TallixAvroType&) = delete;
  TallixAvroType& operator=(const TallixAvroType&) = delete;

  avro_schema_t schema() const { return schema_; }
  TallixAvroValue newValue() const { return TallixAvroValue(class_); }

 private:
  void makeClass();

  avro_schema_t schema_ = nullptr;
  avro_value_iface_t* class_ = nullptr;
};

}  // namespace tallix
