#include "tools/tallix-collector/TallixConfigAnswer.h"

#include <memory>
#include <stdexcept>

#include "analytics/config/exchange/TallixBeaconSchemas.h"
#include "tools/tallix-collector/TallixAvro.h"
#include "tools/tallix-collector/TallixAvroFromJson.h"

namespace tallix {

namespace {

struct WriterRelease {
  void operator()(avro_writer_t writer) const { avro_writer_free(writer); }
};

const TallixAvroType& responseType() {
  static const TallixAvroType type(TallixBeaconSchemas::kConfigResponse);
  return type;
}

const json_t* responseSchemaJson() {
  static const TallixJson schema(json_loadb(TallixBeaconSchemas::kConfigResponse.data(),
                                            TallixBeaconSchemas::kConfigResponse.size(), 0,
                                            nullptr));
  return schema.get();
}

}  // namespace

TallixConfigAnswer::TallixConfigAnswer(const json_t* document)
    : document_(json_deep_copy(document)) {
  encode(0);
}

TallixConfigAnswer TallixConfigAnswer::fromFile(const std::filesystem::path& file) {
  json_error_t error;
  const TallixJson document(json_load_file(file.c_str(), 0, &error));
  if (!document) {
    throw std::invalid_argument(file.string() + ":" + std::to_string(error.line) + ": " +
                                error.text);
  }
  try {
    return TallixConfigAnswer(document.get());
  } catch (const std::invalid_argument& fault) {
    throw std::invalid_argument(file.string() + ": " + fault.what());
  }
}

std::string TallixConfigAnswer::encode(std::int64_t issuedAtMs) const {
  const TallixJson stamped(json_deep_copy(document_.get()));
  if (json_is_object(stamped.get()) && !json_object_get(stamped.get(), "issued_at"))
    json_object_set_new(stamped.get(), "issued_at", json_integer(issuedAtMs));
  TallixAvroValue response = responseType().newValue();
  TallixAvroFromJson::fill(*response.get(), responseSchemaJson(), stamped.get(), "");

  std::size_t size = 0;
  avro_value_sizeof(response.get(), &size);
  std::string body(size, '\0');
  const std::unique_ptr<avro_writer_t_, WriterRelease> writer(
      avro_writer_memory(body.data(), static_cast<std::int64_t>(size)));
  if (avro_value_write(writer.get(), response.get()) != 0)
    throw std::runtime_error(std::string("cannot write the answer: ") + avro_strerror());
  return body;
}

}  // namespace tallix
