#include "analytics/config/exchange/TallixBeaconSchemas.h"

namespace tallix {

// Nested records inside the two message texts carry no namespace of their own; the separate
// texts of the nested records do, except IosTags.

const std::string_view TallixBeaconSchemas::kConfigRequest = R"({
  "type": "record", "name": "ConfigRequest", "namespace": "com.tallix.beacon",
  "fields": [
    {"name": "project_key", "type": "string"},
    {"name": "bundle_id", "type": "string"},
    {"name": "app_version", "type": "string"},
    {"name": "sdk_version", "type": "int"},
    {"name": "platform", "type": "int"},
    {"name": "platform_version", "type": "string"},
    {"name": "limit_ad_tracking", "type": "boolean", "default": false},
    {"name": "device_tags", "type": [
      {"type": "record", "name": "IosTags", "fields": [
        {"name": "hw_machine", "type": "string"}]},
      {"type": "record", "name": "AndroidTags", "fields": [
        {"name": "model", "type": "string"},
        {"name": "brand", "type": "string"},
        {"name": "id", "type": "string"},
        {"name": "device", "type": "string"},
        {"name": "product", "type": "string"},
        {"name": "version_release", "type": "string"}]}]},
    {"name": "device_ids", "type": {"type": "array", "items":
      {"type": "record", "name": "DeviceID", "fields": [
        {"name": "type", "type": "int"},
        {"name": "id", "type": "bytes"}]}}},
    {"name": "geo", "type": ["null",
      {"type": "record", "name": "Geolocation", "fields": [
        {"name": "latitude", "type": "double"},
        {"name": "longitude", "type": "double"},
        {"name": "accuracy", "type": "float"}]}]}
  ]
})";

const std::string_view TallixBeaconSchemas::kIosTags = R"({
  "type": "record", "name": "IosTags",
  "fields": [{"name": "hw_machine", "type": "string"}]
})";

const std::string_view TallixBeaconSchemas::kGeolocation = R"({
  "type": "record", "name": "Geolocation", "namespace": "com.tallix.beacon",
  "fields": [
    {"name": "latitude", "type": "double"},
    {"name": "longitude", "type": "double"},
    {"name": "accuracy", "type": "float"}
  ]
})";

const std::string_view TallixBeaconSchemas::kDeviceId = R"({
  "type": "record", "name": "DeviceID", "namespace": "com.tallix.beacon",
  "fields": [
    {"name": "type", "type": "int"},
    {"name": "id", "type": "bytes"}
  ]
})";

const std::string_view TallixBeaconSchemas::kConfigResponse = R"({
  "type": "record", "name": "ConfigResponse", "namespace": "com.tallix.beacon",
  "fields": [
    {"name": "issued_at", "type": "long"},
    {"name": "refresh_ttl", "type": "long", "default": 86400},
    {"name": "expiration_ttl", "type": "long", "default": 604800},
    {"name": "global_settings", "type":
      {"type": "record", "name": "GlobalSettings", "fields": [
        {"name": "log_level", "type": {"type": "enum", "name": "LogLevel", "symbols":
          ["ALL", "DEBUG", "ERROR", "FATAL", "INFO", "OFF", "TRACE", "WARN"]},
         "default": "OFF"},
        {"name": "analytics_enabled", "type": "boolean", "default": false}]}},
    {"name": "callbacks", "type":
      {"type": "record", "name": "Callbacks", "fields": [
        {"name": "max_callbacks", "type": "int", "default": 3},
        {"name": "templates", "type": {"type": "array", "items":
          {"type": "record", "name": "AppTemplate", "fields": [
            {"name": "partner", "type": "string"},
            {"name": "events", "type": {"type": "array", "items": "string"}},
            {"name": "method", "type": {"type": "enum", "name": "RequestMethod",
              "symbols": ["GET", "PUT", "POST"]}, "default": "GET"},
            {"name": "uri_template", "type": "string"},
            {"name": "body_template", "type": ["null", "string"]},
            {"name": "max_redirects", "type": "int", "default": 5},
            {"name": "connect_timeout", "type": "int", "default": 20},
            {"name": "request_timeout", "type": "int", "default": 20}]}}}]}}
  ]
})";

const std::string_view TallixBeaconSchemas::kGlobalSettings = R"({
  "type": "record", "name": "GlobalSettings", "namespace": "com.tallix.beacon",
  "fields": [
    {"name": "log_level", "type": {"type": "enum", "name": "LogLevel", "symbols":
      ["ALL", "DEBUG", "ERROR", "FATAL", "INFO", "OFF", "TRACE", "WARN"]},
     "default": "OFF"},
    {"name": "analytics_enabled", "type": "boolean", "default": false}
  ]
})";

const std::string_view TallixBeaconSchemas::kAppTemplate = R"({
  "type": "record", "name": "AppTemplate", "namespace": "com.tallix.beacon",
  "fields": [
    {"name": "partner", "type": "string"},
    {"name": "events", "type": {"type": "array", "items": "string"}},
    {"name": "method", "type": {"type": "enum", "name": "RequestMethod",
      "symbols": ["GET", "PUT", "POST"]}, "default": "GET"},
    {"name": "uri_template", "type": "string"},
    {"name": "body_template", "type": ["null", "string"]},
    {"name": "max_redirects", "type": "int", "default": 5},
    {"name": "connect_timeout", "type": "int", "default": 20},
    {"name": "request_timeout", "type": "int", "default": 20}
  ]
})";

const std::string_view TallixBeaconSchemas::kCallbacks = R"({
  "type": "record", "name": "Callbacks", "namespace": "com.tallix.beacon",
  "fields": [
    {"name": "max_callbacks", "type": "int", "default": 3},
    {"name": "templates", "type": {"type": "array", "items":
      {"type": "record", "name": "AppTemplate", "fields": [
        {"name": "partner", "type": "string"},
        {"name": "events", "type": {"type": "array", "items": "string"}},
        {"name": "method", "type": {"type": "enum", "name": "RequestMethod",
          "symbols": ["GET", "PUT", "POST"]}, "default": "GET"},
        {"name": "uri_template", "type": "string"},
        {"name": "body_template", "type": ["null", "string"]},
        {"name": "max_redirects", "type": "int", "default": 5},
        {"name": "connect_timeout", "type": "int", "default": 20},
        {"name": "request_timeout", "type": "int", "default": 20}]}}}
  ]
})";

}  // namespace tallix
