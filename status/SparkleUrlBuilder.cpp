#include "status/SparkleUrlBuilder.h"

#include <algorithm>
#include <string_view>

#include "core/HexText.h"
#include "core/Settings.h"

namespace tovi {

// Everything but the unreserved characters of RFC 3986, section 2.3.
static std::string percentEncoded(std::string_view text) {
  constexpr std::string_view kUnreserved =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  std::string encoded;
  for (const char character : text) {
    if (kUnreserved.find(character) != kUnreserved.npos) {
      encoded += character;
    } else {
      encoded += "%" + hexText(static_cast<unsigned char>(character), kCapitalHexDigits);
    }
  }
  return encoded;
}

static std::string replacingAll(std::string text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

static void addItem(std::string& query, std::string_view name,
                    const std::optional<std::string>& value) {
  if (!value) return;
  if (!query.empty()) query += '&';
  query.append(name).append("=").append(percentEncoded(*value));
}

// A query stands before the fragment (RFC 3986, section 3), and a base may have one already.
static std::string withQuery(const std::string& base, const std::string& query) {
  if (query.empty()) return base;
  const auto fragment = std::min(base.find('#'), base.size());
  auto url = base.substr(0, fragment);
  const bool hasQuery = url.find('?') != url.npos;
  if (!url.ends_with('?')) url += hasQuery ? '&' : '?';
  return url + query + base.substr(fragment);
}

SparkleUrlBuilder::SparkleUrlBuilder(HardwareInformationManager& hardware,
                                     const BundleProviderProtocol& bundle,
                                     const std::optional<std::string>& feedUrl,
                                     const std::string& updateHost,
                                     const GetPropertyManagerProtocol& settings) {
  std::string query;
  if (const auto overview = hardware.getHardwareOverview()) {
    addItem(query, "deviceID", overview->hardwareUuid);
  }
  addItem(query, "appVersionShort", bundle.shortVersion());
  auto base = feedUrl.value_or("https://" + updateHost + "/sparkle/MacAgentArm/stable/appcast.xml");
  static constexpr SettingKey<std::string_view> kChannel = "sparkle_channel";
  base = replacingAll(base, kChannel.defaultValue, setting(settings, kChannel));
  sparkleUrl_ = withQuery(base, query);
}

}  // namespace tovi
