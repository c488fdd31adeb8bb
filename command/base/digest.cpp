#include "base/digest.h"

#include <nettle/nettle-meta.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace eclipse_base {

namespace {

const nettle_hash& hash_of(Digest digest) {
  switch (digest) {
    case Digest::sha_512:
      return nettle_sha512;
    case Digest::sha_256:
      return nettle_sha256;
    case Digest::sha_1:
      return nettle_sha1;
    case Digest::md5:
      break;
  }
  return nettle_md5;
}

}  // namespace

std::string_view name_of(Digest digest) {
  switch (digest) {
    case Digest::sha_512:
      return "SHA-512";
    case Digest::sha_256:
      return "SHA-256";
    case Digest::sha_1:
      return "SHA-1";
    case Digest::md5:
      break;
  }
  return "MD5";
}

std::string digest_of(std::string_view bytes, Digest digest) {
  const nettle_hash& hash = hash_of(digest);
  std::vector<std::max_align_t> state(hash.context_size / sizeof(std::max_align_t) + 1);
  hash.init(state.data());
  hash.update(state.data(), bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
  std::vector<std::uint8_t> result(hash.digest_size);
  hash.digest(state.data(), result.size(), result.data());
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * result.size());
  for (const std::uint8_t byte : result) {
    text += digits[byte >> 4];
    text += digits[byte & 0xF];
  }
  return text;
}

}  // namespace eclipse_base
