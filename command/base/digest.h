// Digests of bytes, by Nettle, which libarchive uses, too.
#ifndef ECLIPSE_INT_BASE_DIGEST_H
#define ECLIPSE_INT_BASE_DIGEST_H

#include <string>
#include <string_view>

namespace eclipse_base {

enum class Digest { sha_512, sha_256, sha_1, md5 };

/// "SHA-512", "SHA-256", "SHA-1" or "MD5".
std::string_view name_of(Digest digest);

/// In hexadecimal digits, with small letters.
std::string digest_of(std::string_view bytes, Digest digest);
/// The same in Base64, as manifests of jar files have it.
std::string base64_digest_of(std::string_view bytes, Digest digest);

}  // namespace eclipse_base

#endif
