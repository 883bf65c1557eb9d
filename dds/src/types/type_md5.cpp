#include "types/type_md5.h"

#include <cstring>

#include <fastrtps/utils/md5.h>

namespace qordds {

void md5_digest(const unsigned char* data, unsigned int length, unsigned char digest[16]) {
    MD5 md5;
    md5.update(data, length);
    md5.finalize();
    std::memcpy(digest, md5.digest, 16);
}

}  // namespace qordds
