#include "app/AnalyticsServer.h"

#include <QUrl>

namespace app {

QString AnalyticsServer::configurationUrl() const {
  return (secure ? QStringLiteral("https://") : QStringLiteral("http://")) + hostAndPort +
         QStringLiteral("/sdk/v1/config");
}

AnalyticsServer::Parsed AnalyticsServer::fromText(const QString& text) {
  if (text.trimmed().isEmpty())
    return std::monostate{};
  const QUrl url(text.trimmed(), QUrl::StrictMode);
  const QString scheme = url.scheme();
  if (!url.isValid() || (scheme != QLatin1String("http") && scheme != QLatin1String("https")))
    return QStringLiteral("\"%1\" is not an http:// or https:// address").arg(text);
  // The agent posts to its own path; anything else in the address would be silently dropped.
  const bool bare = (url.path().isEmpty() || url.path() == QLatin1String("/")) && !url.hasQuery() &&
                    !url.hasFragment() && url.userInfo().isEmpty();
  if (url.host().isEmpty() || !bare)
    return QStringLiteral("\"%1\" should name a server only, like http://127.0.0.1:8080").arg(text);
  const QString host = url.host(QUrl::FullyEncoded);
  const QString shownHost = host.contains(u':') ? u'[' + host + u']' : host;
  return AnalyticsServer{
      url.port() > 0 ? shownHost + u':' + QString::number(url.port()) : shownHost,
      scheme == QLatin1String("https")};
}

AnalyticsServer::Parsed AnalyticsServer::fromSettings(const std::optional<QString>& option) {
  return fromText(option.value_or(qEnvironmentVariable(kEnvironmentVariable)));
}

}  // namespace app
