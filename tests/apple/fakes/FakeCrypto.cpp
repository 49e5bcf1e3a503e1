#include <CommonCrypto/CommonDigest.h>
#include <glib.h>

extern "C" unsigned char* CC_SHA1(const void* data, CC_LONG length, unsigned char* digest) {
  gsize size = CC_SHA1_DIGEST_LENGTH;
  GChecksum* sum = g_checksum_new(G_CHECKSUM_SHA1);
  g_checksum_update(sum, static_cast<const guchar*>(data), length);
  g_checksum_get_digest(sum, digest, &size);
  g_checksum_free(sum);
  return digest;
}
