#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/Value.h"

namespace foundation {
namespace {

TEST(ValueTest, NumbersAreDescribedInPlainDecimal) {
  EXPECT_EQ(Value(42).description(), "42");
  EXPECT_EQ(Value(std::numeric_limits<std::int64_t>::min()).description(), "-9223372036854775808");
  EXPECT_EQ(Value(0.1).description(), "0.1");
  EXPECT_EQ(Value(3.0).description(), "3");
  EXPECT_EQ(Value(-2.5).description(), "-2.5");
  EXPECT_EQ(Value(1e21).description(), "1000000000000000000000");
  EXPECT_EQ(Value(1.5e-7).description(), "0.00000015");
  EXPECT_EQ(Value(0.1f).description(), "0.10000000149011612");
  EXPECT_EQ(Value(NAN).description(), "nan");
  EXPECT_EQ(Value(-INFINITY).description(), "-inf");
}

TEST(ValueTest, OtherTypesHaveReadableDescriptions) {
  EXPECT_EQ(Value().description(), "null");
  EXPECT_EQ(Value(true).description(), "true");
  EXPECT_EQ(Value("plain").description(), "plain");
  EXPECT_EQ(Value(Value::Bytes{0x0a, 0xff}).description(), "<0aff>");
  EXPECT_EQ(Value(Date::fromTimeIntervalSince1970(1795000000.75)).description(),
            "2026-11-18 11:06:40 +0000");
  const Value nested(Value::Dictionary{{"b", Value(Value::Array{Value(1), Value("say \"hi\"")})},
                                       {"a", Value(0.5)}});
  EXPECT_EQ(nested.description(), R"({"a": 0.5, "b": [1, "say \"hi\""]})");
}

TEST(ValueTest, AccessorsAnswerOnlyForTheirType) {
  const Value text("7");
  EXPECT_FALSE(text.integer());
  EXPECT_FALSE(text.number());
  EXPECT_EQ(*text.string(), "7");
  EXPECT_EQ(Value(7.0).integer(), 7);
  EXPECT_FALSE(Value(7.5).integer());
  EXPECT_FALSE(Value(1e300).integer());
  EXPECT_FALSE(Value(true).integer());
  EXPECT_EQ(text.find("key"), nullptr);
}

TEST(ValueTest, EqualityIsDeepAndNumericAcrossNumberTypes) {
  EXPECT_EQ(Value(1), Value(1.0));
  EXPECT_NE(Value(1), Value(true));
  EXPECT_NE(Value(1), Value("1"));
  EXPECT_NE(Value(), Value(0));
  EXPECT_NE(Value(std::numeric_limits<std::int64_t>::max()),
            Value(std::numeric_limits<std::int64_t>::max() - 1));
  const auto make = [](int inner) {
    return Value(Value::Dictionary{{"list", Value(Value::Array{Value(inner), Value("x")})}});
  };
  EXPECT_EQ(make(1), make(1));
  EXPECT_NE(make(1), make(2));
}

}  // namespace
}  // namespace foundation
