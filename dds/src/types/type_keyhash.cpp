#include <cstring>
#include <vector>

#include "qordds/typecode.h"
#include "types/type_md5.h"
#include "types/type_serializer.h"

namespace {

bool has_key(const DDS_TypeCode& type) {
    for (uint32_t i = 0; i < type.member_count; ++i) {
        if (type.members[i].is_key) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool DDS_TypeCode_get_keyhash_max_size(const DDS_TypeCode* type, unsigned int* size) {
    uint64_t computed = 0;
    if (!qordds::type_code_is_valid(type) || size == nullptr ||
        !qordds::serialized_size(*type, qordds::keyhash_layout(), &computed)) {
        return false;
    }
    *size = static_cast<unsigned int>(computed);
    return true;
}

bool DDS_TypeCode_get_keyhash(const DDS_TypeCode* type, const void* sample, DDS_KeyHash_t* hash) {
    unsigned int max_size = 0;
    if (sample == nullptr || hash == nullptr ||
        !DDS_TypeCode_get_keyhash_max_size(type, &max_size) || !has_key(*type)) {
        return false;
    }
    std::vector<char> key(max_size);
    unsigned int written = 0;
    if (!qordds::write_sample(*type, sample, qordds::keyhash_layout(), key.data(), max_size,
                              &written)) {
        return false;
    }
    // The choice between padding and digest depends on the key's maximum size, not on this
    // sample's, so one type always hashes the same way.
    if (max_size <= sizeof hash->value) {
        std::memset(hash->value, 0, sizeof hash->value);
        std::memcpy(hash->value, key.data(), written);
    } else {
        qordds::md5_digest(reinterpret_cast<const unsigned char*>(key.data()), written,
                           hash->value);
    }
    return true;
}
