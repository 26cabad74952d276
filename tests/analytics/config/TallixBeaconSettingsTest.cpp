#include <gtest/gtest.h>

#include "analytics/config/exchange/TallixBeaconSettingsStore.h"

namespace tallix {
namespace {

using foundation::Value;

std::shared_ptr<TallixBeaconAppTemplate> postTemplate() {
  auto beaconTemplate = std::make_shared<TallixBeaconAppTemplate>();
  beaconTemplate->setPartner("partner");
  beaconTemplate->setEvents({"tallix.session_end", "other"});
  beaconTemplate->setMethod(TallixBeaconAppTemplate::kPost);
  beaconTemplate->setUriTemplate("https://p/{id}");
  beaconTemplate->setMaxRedirects(4);
  beaconTemplate->setConnectTimeout(9);
  beaconTemplate->setRequestTimeout(30);
  return beaconTemplate;
}

TallixBeaconSettings settingsWithOneTemplate() {
  TallixBeaconSettings settings;
  settings.setLastResponseTime(1);
  settings.setNextRefreshTTL(1700086400123);
  settings.setExpirationTTL(1700604800123);
  settings.setCallbacks({postTemplate()});
  return settings;
}

TEST(TallixBeaconSettingsTest, StoredSettingsComeBackThroughTheArchiveWithoutTheConnectTimeout) {
  TallixPersistentMap globals("persistentGlobalsMap");
  TallixBeaconSettingsStore store(globals);
  EXPECT_FALSE(store.load());
  store.store(settingsWithOneTemplate());
  const auto loaded = store.load();
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->lastResponseTime(), 1);
  EXPECT_EQ(loaded->nextRefreshTTL(), 1700086400123);
  EXPECT_EQ(loaded->expirationTTL(), 1700604800123);
  ASSERT_EQ(loaded->callbacks().size(), 1u);
  const auto& callback = *loaded->callbacks()[0];
  EXPECT_EQ(callback.partner(), "partner");
  EXPECT_EQ(callback.events(), (Value::Array{"tallix.session_end", "other"}));
  EXPECT_EQ(callback.method(), TallixBeaconAppTemplate::kPost);
  EXPECT_EQ(callback.uriTemplate(), "https://p/{id}");
  EXPECT_EQ(callback.bodyTemplate(), std::nullopt);
  EXPECT_EQ(callback.maxRedirects(), 4);
  EXPECT_EQ(callback.connectTimeout(), 0);  // written as "connectionTimeout", read as another
  EXPECT_EQ(callback.requestTimeout(), 30);

  globals.setValue(TallixBeaconSettingsStore::kKey, "{not an archive");
  EXPECT_FALSE(store.load());
  store.remove();
  EXPECT_TRUE(globals.entries().empty());
}

TEST(TallixBeaconSettingsTest, DictionaryFormKeepsItsQuirks) {
  const Value dictionary = settingsWithOneTemplate().dataDictionary();
  const Value* callbacks = dictionary.find("callbacks");
  ASSERT_TRUE(callbacks && callbacks->array() && callbacks->array()->size() == 1);
  const Value& stored = callbacks->array()->front();
  EXPECT_EQ(*stored.find("connectionTimeout"), Value(9));
  EXPECT_EQ(stored.find("bodyTemplate"), nullptr);

  const auto settings = TallixBeaconSettings::initWithDictionary(dictionary);
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->expirationTTL(), 1700604800123);
  ASSERT_EQ(settings->callbacks().size(), 1u);
  const auto& callback = *settings->callbacks()[0];
  EXPECT_EQ(callback.events(), (Value::Array{Value(Value::Array{"tallix.session_end", "other"})}));
  EXPECT_EQ(callback.connectTimeout(), 0);
  EXPECT_EQ(callback.maxRedirects(), 4);
  EXPECT_EQ(callback.method(), TallixBeaconAppTemplate::kPost);

  // Timeouts and the method are converted from any number; maxRedirects only as an integer.
  const auto converted = TallixBeaconAppTemplate::initWithDictionary(Value(Value::Dictionary{
      {"maxRedirects", 3.0}, {"requestTimeout", 7.9}, {"connectTimeout", 1e12}, {"method", 1.0}}));
  ASSERT_TRUE(converted);
  EXPECT_EQ(converted->maxRedirects(), 0);
  EXPECT_EQ(converted->requestTimeout(), 7);
  EXPECT_EQ(converted->connectTimeout(), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(converted->method(), TallixBeaconAppTemplate::kPut);
  EXPECT_FALSE(TallixBeaconAppTemplate::initWithDictionary(Value("no dictionary")));
}

TEST(TallixBeaconSettingsTest, MethodNamesConvertBothWaysAndUnknownOnesFallBackToGet) {
  EXPECT_EQ(TallixBeaconAppTemplate::beaconMethodStringToEnum("PUT"), 1);
  EXPECT_EQ(TallixBeaconAppTemplate::beaconMethodStringToEnum("POST"), 2);
  EXPECT_EQ(TallixBeaconAppTemplate::beaconMethodStringToEnum("post"), 0);
  EXPECT_EQ(TallixBeaconAppTemplate::beaconMethodEnumToString(2), "POST");
  EXPECT_EQ(TallixBeaconAppTemplate::beaconMethodEnumToString(1), "PUT");
  EXPECT_EQ(TallixBeaconAppTemplate::beaconMethodEnumToString(3), "GET");
  EXPECT_EQ(TallixBeaconAppTemplate::beaconMethodEnumToString(-1), "GET");
}

}  // namespace
}  // namespace tallix
