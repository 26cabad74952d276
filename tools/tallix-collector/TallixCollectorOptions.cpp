#include "tools/tallix-collector/TallixCollectorOptions.h"

#include <charconv>
#include <memory>
#include <stdexcept>

namespace tallix {

namespace {

void check(const std::optional<std::string>& error, const std::string& option) {
  if (error)
    throw std::invalid_argument(option + ": " + *error);
}

}  // namespace

TallixCollectorOptions TallixCollectorOptions::parse(int argc, const char* const* argv) {
  TallixCollectorOptions options;
  for (int index = 1; index < argc; ++index) {
    const std::string option = argv[index];
    if (option == "--help" || option == "-h") {
      options.help = true;
      return options;
    }
    if (index + 1 == argc)
      throw std::invalid_argument(option + " needs a value");
    options.take(option, argv[++index]);
  }
  if (options.store.empty())
    throw std::invalid_argument("--store is required");
  return options;
}

void TallixCollectorOptions::take(const std::string& option, const std::string& value) {
  if (option == "--host") {
    host = value;
  } else if (option == "--port") {
    port = integer(option, value);
    if (port < 0 || port > 65535)
      throw std::invalid_argument("--port must be from 0 to 65535");
  } else if (option == "--store") {
    store = value;
  } else if (option == "--status") {
    answer.status = integer(option, value);
    check(TallixAnswerSettings::invalidStatus(answer.status), option);
  } else if (option == "--delay-ms") {
    answer.delayMs = integer(option, value);
    check(TallixAnswerSettings::invalidDelay(answer.delayMs), option);
  } else if (option == "--cookies") {
    auto cookies = TallixAnswerSettings::parseCookieList(value);
    if (!cookies)
      throw std::invalid_argument("--cookies takes key=value pairs separated by commas");
    check(TallixAnswerSettings::invalidCookies(*cookies), option);
    answer.cookies = std::move(*cookies);
  } else if (option == "--callback-status") {
    answer.callbackStatus = integer(option, value);
    check(TallixAnswerSettings::invalidStatus(answer.callbackStatus), option);
  } else if (option == "--config") {
    try {
      answer.config =
          std::make_shared<const TallixConfigAnswer>(TallixConfigAnswer::fromFile(value));
    } catch (const std::invalid_argument& fault) {
      throw std::invalid_argument(option + " " + fault.what());
    }
  } else {
    throw std::invalid_argument("unknown option " + option);
  }
}

int TallixCollectorOptions::integer(const std::string& option, const std::string& value) {
  int number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (error != std::errc() || end != value.data() + value.size())
    throw std::invalid_argument(option + " takes a whole number, not \"" + value + "\"");
  return number;
}

}  // namespace tallix
