#include "base/digest.h"

#include <nettle/base64.h>
#include <nettle/nettle-meta.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/text.h"

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

std::string raw_digest_of(std::string_view bytes, Digest digest) {
  const nettle_hash& hash = hash_of(digest);
  std::vector<std::max_align_t> state(hash.context_size / sizeof(std::max_align_t) + 1);
  hash.init(state.data());
  hash.update(state.data(), bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
  std::string result(hash.digest_size, '\0');
  hash.digest(state.data(), result.size(), reinterpret_cast<std::uint8_t*>(result.data()));
  return result;
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

std::string digest_of(std::string_view bytes, Digest digest) { return hexadecimal_of(raw_digest_of(bytes, digest)); }

std::string base64_digest_of(std::string_view bytes, Digest digest) {
  const std::string raw = raw_digest_of(bytes, digest);
  std::string result(BASE64_ENCODE_RAW_LENGTH(raw.size()), '\0');
  base64_encode_raw(result.data(), raw.size(), reinterpret_cast<const std::uint8_t*>(raw.data()));
  return result;
}

}  // namespace eclipse_base
