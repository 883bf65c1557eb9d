// Binding-internal: MD5 digests, for key hashes of keys longer than 16 bytes.
#ifndef QOR_DDS_SRC_TYPE_MD5_H
#define QOR_DDS_SRC_TYPE_MD5_H

namespace qordds {

void md5_digest(const unsigned char* data, unsigned int length, unsigned char digest[16]);

}  // namespace qordds

#endif
