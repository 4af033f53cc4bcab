// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/connection_uri.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "loomkit/text/uri.h"

namespace loomkit {
namespace {

constexpr std::string_view schemes[] = {"postgresql://", "postgres://"};

// The parameters of a URI that may be shown. libpq knows these and two more, which are
// passwords. Any other word may be the rest of a password that has a "&" in it.
constexpr std::string_view shownParameters[] = {
    "application_name",
    "channel_binding",
    "client_encoding",
    "connect_timeout",
    "dbname",
    "fallback_application_name",
    "gssdelegation",
    "gssencmode",
    "gsslib",
    "host",
    "hostaddr",
    "keepalives",
    "keepalives_count",
    "keepalives_idle",
    "keepalives_interval",
    "krbsrvname",
    "load_balance_hosts",
    "options",
    "passfile",
    "port",
    "replication",
    "require_auth",
    "requirepeer",
    "service",
    "ssl",
    "ssl_max_protocol_version",
    "ssl_min_protocol_version",
    "sslcert",
    "sslcertmode",
    "sslcompression",
    "sslcrl",
    "sslcrldir",
    "sslkey",
    "sslmode",
    "sslnegotiation",
    "sslrootcert",
    "sslsni",
    "target_session_attrs",
    "tcp_user_timeout",
    "user",
};

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// The length of the locator's scheme, 0 without one.
std::size_t schemeLength(std::string_view locator) {
  for (const std::string_view scheme : schemes) {
    if (locator.size() < scheme.size()) continue;
    if (std::equal(scheme.begin(), scheme.end(), locator.begin(),
                   [](char a, char b) { return a == lowered(b); }))
      return scheme.size();
  }
  return 0;
}

// The user and the password in front of an authority.
struct UserInfo {
  std::string_view text;  // without its "@"
  bool plain = true;      // libpq sees its end at the same place
  std::size_t end = 0;    // behind its "@"
};

// libpq takes everything up to the first "@" that stands before any "/". A
// password with such a character in it shifts all that follows, so the last "@"
// before the query is where the secret ends.
UserInfo userInfoOf(std::string_view rest) {
  const std::size_t stop = std::min(rest.find_first_of("@/"), rest.size());
  const bool given = stop < rest.size() && rest[stop] == '@';
  const std::size_t query = std::min(rest.find('?', given ? stop : 0), rest.size());
  const std::size_t last = rest.substr(0, query).rfind('@');
  if (last == std::string_view::npos) return {};
  const std::string_view text = rest.substr(0, last);
  const bool plain = given && last == stop && text.find('?') == std::string_view::npos;
  return {text, plain, last + 1};
}

// "host:port,host:port/database". Where a port is none, what follows may be a
// password whose "@" was forgotten.
std::string_view shownPlace(std::string_view place) {
  const std::size_t end = std::min(place.find('/'), place.size());
  bool inBrackets = false;
  for (std::size_t pos = 0; pos < end; ++pos) {
    if (place[pos] == '[') inBrackets = true;
    if (place[pos] == ']') inBrackets = false;
    if (place[pos] != ':' || inBrackets) continue;
    const std::size_t behind = place.find_first_not_of("0123456789", pos + 1);
    if (behind < end && place[behind] != ',') return place.substr(0, pos);
  }
  return place;
}

bool isShown(std::string_view parameter) {
  const std::size_t equals = parameter.find('=');
  // An "@" may be the end of a password that has a "?" in it.
  if (equals == std::string_view::npos || parameter.find('@') != std::string_view::npos)
    return false;
  const std::string name = gUnescapePartOfURI(std::string(parameter.substr(0, equals)));
  return std::find(std::begin(shownParameters), std::end(shownParameters), name) !=
         std::end(shownParameters);
}

// "?a=1&b=2" of what may be shown.
std::string shownQuery(std::string_view query) {
  std::string shown;
  while (!query.empty()) {
    const std::size_t end = std::min(query.find('&'), query.size());
    const std::string_view parameter = query.substr(0, end);
    if (isShown(parameter)) shown += (shown.empty() ? "?" : "&") + std::string(parameter);
    query.remove_prefix(std::min(end + 1, query.size()));
  }
  return shown;
}

}  // namespace

bool isConnectionUri(const std::string& locator) { return schemeLength(locator) != 0; }

std::string connectionUri(const std::string& locator) {
  std::string uri = locator;
  std::transform(uri.begin(), uri.begin() + static_cast<std::ptrdiff_t>(schemeLength(uri)),
                 uri.begin(), lowered);
  return uri;
}

bool hasClearEnd(const std::string& locator) {
  const std::string_view rest = std::string_view(locator).substr(schemeLength(locator));
  const std::size_t query = rest.find('?');
  return query == std::string_view::npos || rest.find('@', query) == std::string_view::npos ||
         rest.find(':') > query;
}

bool hasPlainUser(const std::string& locator) {
  return userInfoOf(std::string_view(locator).substr(schemeLength(locator))).plain;
}

std::string withoutPassword(const std::string& locator) {
  const std::size_t scheme = schemeLength(locator);
  if (scheme == 0) return locator;
  if (!hasClearEnd(locator)) return locator.substr(0, scheme);
  std::string_view rest = std::string_view(locator).substr(scheme);
  const UserInfo user = userInfoOf(rest);
  std::string shown = locator.substr(0, scheme);
  if (user.plain && user.end != 0)
    shown += std::string(user.text.substr(0, user.text.find(':'))) + "@";
  rest.remove_prefix(user.end);
  const std::size_t query = std::min(rest.find('?'), rest.size());
  shown += shownPlace(rest.substr(0, query));
  if (query < rest.size()) shown += shownQuery(rest.substr(query + 1));
  return shown;
}

}  // namespace loomkit
