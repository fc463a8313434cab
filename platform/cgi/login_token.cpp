#include "host/login_token.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <nettle/base64.h>
#include <nettle/hmac.h>
#include <nettle/sha2.h>
#include <span>
#include <sys/random.h>

namespace zevo {
namespace {

using Bytes = std::basic_string<std::uint8_t>;

constexpr std::size_t kTokenBytes = 32;
constexpr std::size_t kTokenLength = 43;  // 32 bytes in base64 without padding

std::string base64Url(std::span<const std::uint8_t, kTokenBytes> bytes) {
  base64_encode_ctx context{};
  base64url_encode_init(&context);
  std::array<char, BASE64_ENCODE_LENGTH(kTokenBytes) + BASE64_ENCODE_FINAL_LENGTH> text{};
  const std::size_t written =
      base64_encode_update(&context, text.data(), bytes.size(), bytes.data());
  base64_encode_final(&context, text.data() + written);
  return {text.data(), kTokenLength};
}

bool isBase64Url(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_';
}

}  // namespace

std::string newLoginToken() {
  std::array<std::uint8_t, kTokenBytes> bytes{};
  // Up to 256 bytes are returned completely; early after the boot the call may wait.
  while (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    if (errno != EINTR) std::abort();  // unsupported kernel; a guessable secret would be worse
  }
  return base64Url(bytes);
}

std::string tokenHash(std::string_view token) {
  const Bytes bytes(token.begin(), token.end());
  sha256_ctx context{};
  sha256_init(&context);
  sha256_update(&context, bytes.size(), bytes.data());
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&context, digest.size(), digest.data());
  return base64Url(digest);
}

std::string keyedHash(std::string_view key, std::string_view text) {
  const Bytes keyBytes(key.begin(), key.end());
  const Bytes bytes(text.begin(), text.end());
  hmac_sha256_ctx context{};
  hmac_sha256_set_key(&context, keyBytes.size(), keyBytes.data());
  hmac_sha256_update(&context, bytes.size(), bytes.data());
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  hmac_sha256_digest(&context, digest.size(), digest.data());
  return base64Url(digest);
}

bool isLoginToken(std::string_view text) {
  return text.size() == kTokenLength && std::all_of(text.begin(), text.end(), isBase64Url);
}

}  // namespace zevo
